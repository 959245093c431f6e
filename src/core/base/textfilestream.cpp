#include "textfilestream.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <cerrno>
#include <cstring>

namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

// Where the whole lines in data[0, size) end: just past the last "\n", or past
// the last "\r" unless that "\r" is the final byte, whose "\n" may still be
// on its way. `known` bytes at the front were searched before and hold no break
// but perhaps such a final "\r". Zero when no line is whole yet.
qsizetype wholeLinesEnd(const char *data, qsizetype size, qsizetype known)
{
    for (qsizetype i = size - 1; i >= std::max<qsizetype>(known - 1, 0); --i) {
        if (data[i] == '\n' || (data[i] == '\r' && i + 1 < size)) {
            return i + 1;
        }
    }
    return 0;
}

} // namespace

TextFileStream::TextFileStream(const QString &path, qsizetype blockSize)
    : m_blockSize(std::max<qsizetype>(blockSize, 1))
{
    if (QFileInfo(path).isDir()) {
        // QFile opens a folder on Linux and then reads nothing; say what it is.
        fail(TextFile::ReadError::cannotOpen, qt_error_string(EISDIR));
        return;
    }
    auto file = std::make_unique<QFile>(path);
    // Unbuffered: the blocks are large, and Qt's own buffer would only add a copy.
    if (!file->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        fail(TextFile::ReadError::cannotOpen, file->errorString());
        return;
    }
    m_device = file.get();
    m_owned = std::move(file);
}

TextFileStream::TextFileStream(QIODevice *device, qsizetype blockSize)
    : m_device(device), m_blockSize(std::max<qsizetype>(blockSize, 1))
{
}

TextFileStream::~TextFileStream() = default;

void TextFileStream::fail(TextFile::ReadError error, const QString &why)
{
    m_status.error = error;
    m_status.errorString = why;
}

bool TextFileStream::fill()
{
    qsizetype searched = 0;
    for (;;) {
        if (m_atEnd || wholeLinesEnd(m_bytes.constData(), m_filled, searched) > 0) {
            return true;
        }
        searched = m_filled;
        // A line longer than a block makes the buffer grow until its end is in.
        if (m_bytes.size() < m_filled + m_blockSize) {
            m_bytes.resize(m_filled + m_blockSize);
        }
        qsizetype wanted = m_blockSize;
        while (wanted > 0) {
            const qint64 got = m_device->read(m_bytes.data() + m_filled, wanted);
            if (got < 0) {
                fail(TextFile::ReadError::cannotRead, m_device->errorString());
                return false;
            }
            if (got == 0) {
                m_atEnd = true;
                break;
            }
            m_filled += got;
            wanted -= got;
        }
    }
}

std::optional<TextFileStream::Span> TextFileStream::nextSpan()
{
    if (!m_status.ok() || !m_device || !fill()) {
        return std::nullopt;
    }
    const qsizetype cut = m_atEnd ? m_filled : wholeLinesEnd(m_bytes.constData(), m_filled, 0);
    if (cut == 0) {
        return std::nullopt;
    }
    Span span{0, cut, !m_started};
    if (span.first) {
        m_started = true;
        if (m_status.encoding != TextEncoding::utf8) {
            return span;
        }
        if (QByteArrayView(m_bytes.constData(), cut).startsWith(QByteArrayView(kByteOrderMark, 3))) {
            m_status.hadByteOrderMark = true;
            span.begin = 3;
        }
    }
    return span;
}

void TextFileStream::consume(qsizetype end)
{
    std::memmove(m_bytes.data(), m_bytes.constData() + end, size_t(m_filled - end));
    m_filled -= end;
    m_consumed += end;
}

void TextFileStream::failInvalid(qsizetype begin, QByteArrayView block)
{
    // Same guard as TextFile::decode: our scan agrees with the decoder on
    // every form it rejects, so the block start is only a fallback.
    const qint64 bad = TextFile::firstInvalidUtf8Offset(block);
    m_status.error = TextFile::ReadError::invalidUtf8;
    m_status.invalidByteOffset = m_consumed + begin + (bad >= 0 ? bad : 0);
}

std::optional<QStringView> TextFileStream::next()
{
    const std::optional<Span> span = nextSpan();
    if (!span) {
        return std::nullopt;
    }
    const QByteArrayView block(m_bytes.constData() + span->begin, span->end - span->begin);
    if (m_status.encoding != TextEncoding::utf8) {
        m_text = TextEncodings::decode(block, m_status.encoding);
        consume(span->end);
        return QStringView(m_text);
    }
    // Stateless: the block ends after a line break or at the end of the file,
    // so a sequence cut short is an error here exactly as it is in TextFile::read.
    // The file's byte order mark is already skipped; any U+FEFF the decoder
    // meets first is text (a second mark, or one that starts a line), and is kept.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    m_text.resize(block.size()); // UTF-8 never takes fewer bytes than UTF-16 units
    const QChar *end = decoder.appendToBuffer(m_text.data(), block);
    if (decoder.hasError()) {
        failInvalid(span->begin, block);
        return std::nullopt;
    }
    m_text.resize(end - m_text.constData());
    consume(span->end);
    return QStringView(m_text);
}

std::optional<QByteArray> TextFileStream::nextBytes()
{
    const std::optional<Span> span = nextSpan();
    if (!span) {
        return std::nullopt;
    }
    const QByteArrayView block(m_bytes.constData() + span->begin, span->end - span->begin);
    if (m_status.encoding != TextEncoding::utf8) {
        QByteArray utf8 = TextEncodings::decodeToUtf8(block, m_status.encoding);
        consume(span->end);
        return utf8;
    }
    // The block ends after a line break or at the end of the file, so a
    // sequence cut short counts as bad, as it does in TextFile::read.
    if (TextFile::firstInvalidUtf8Offset(block) >= 0) {
        failInvalid(span->begin, block);
        return std::nullopt;
    }
    QByteArray bytes = block.toByteArray();
    consume(span->end);
    return bytes;
}
