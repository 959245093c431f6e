#include "textfile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringDecoder>
#include <QStringEncoder>

#include <cerrno>

namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

// A program this size is encoded and written in pieces, so saving a 100 MB
// file does not need a second 100 MB buffer on top of the text.
constexpr qsizetype kWriteChunk = 1 << 20;

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

} // namespace

qint64 TextFile::firstInvalidUtf8Offset(QByteArrayView bytes)
{
    const auto *data = reinterpret_cast<const unsigned char *>(bytes.data());
    const qsizetype size = bytes.size();
    qsizetype i = 0;
    while (i < size) {
        const unsigned char lead = data[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        qsizetype length = 0;
        // The allowed range of the second byte closes off overlong forms,
        // surrogates (ED A0..BF) and code points above U+10FFFF (F4 90..).
        unsigned char secondLow = 0x80;
        unsigned char secondHigh = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0) {
                secondLow = 0xA0;
            } else if (lead == 0xED) {
                secondHigh = 0x9F;
            }
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0) {
                secondLow = 0x90;
            } else if (lead == 0xF4) {
                secondHigh = 0x8F;
            }
        } else {
            return i; // a stray continuation byte, C0/C1 or F5..FF
        }
        if (i + 1 >= size || data[i + 1] < secondLow || data[i + 1] > secondHigh) {
            return i;
        }
        for (qsizetype k = 2; k < length; ++k) {
            if (i + k >= size || !isContinuation(data[i + k])) {
                return i;
            }
        }
        i += length;
    }
    return -1;
}

TextFile::ReadResult TextFile::decode(const QByteArray &bytes, TextEncoding encoding)
{
    ReadResult result;
    result.encoding = encoding;
    if (encoding != TextEncoding::utf8) {
        result.text = TextEncodings::decode(bytes, encoding);
        return result;
    }
    QByteArrayView body(bytes);
    if (body.startsWith(QByteArrayView(kByteOrderMark, 3))) {
        result.hadByteOrderMark = true;
        body = body.sliced(3);
    }
    // Stateless, so a sequence cut short by the end of the file is an error
    // rather than bytes kept back waiting for more input. ConvertInitialBom,
    // because the mark was already handled above: left to itself the decoder
    // would swallow a second one and the file would no longer save as it was.
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(body);
    if (decoder.hasError()) {
        // The decoder only says that something is wrong; the user needs to
        // know where. Our own scan agrees with it on every form it rejects, so
        // the fallback to the start of the file is only a guard.
        const qint64 bad = firstInvalidUtf8Offset(body);
        result.error = ReadError::invalidUtf8;
        result.invalidByteOffset = (bad >= 0 ? bad : 0) + (result.hadByteOrderMark ? 3 : 0);
        return result;
    }
    result.text = std::move(text);
    return result;
}

TextFile::ReadResult TextFile::read(const QString &path, TextEncoding encoding)
{
    ReadResult result;
    result.encoding = encoding;
    QFile file(path);
    if (QFileInfo(path).isDir()) {
        // QFile opens a folder on Linux and then reads nothing; say what it is.
        result.error = ReadError::cannotOpen;
        result.errorString = qt_error_string(EISDIR);
        return result;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        result.error = ReadError::cannotOpen;
        result.errorString = file.errorString();
        return result;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        result.error = ReadError::cannotRead;
        result.errorString = file.errorString();
        return result;
    }
    return decode(bytes, encoding);
}

namespace {

// QSaveFile writes beside the target and renames over it on commit, so a full
// disk or a dead folder leaves the previous file as it was; it must never fall
// back to writing the target in place. Unbuffered, so a short write (disk full,
// size limit) shows in write()'s count: through Qt's buffer it would be lost at
// flush and commit() would rename a truncated file over the good one.
bool openForAtomicWrite(QSaveFile &file)
{
    file.setDirectWriteFallback(false);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

bool writeWhole(QSaveFile &file, const QByteArray &bytes)
{
    if (file.write(bytes) == bytes.size()) {
        return true;
    }
    file.cancelWriting();
    return false;
}

QString shortWriteError(const QSaveFile &file)
{
    const QString error = file.errorString();
    return error.isEmpty() ? QStringLiteral("write failed") : error;
}

} // namespace

QString TextFile::decodeVerbatim(QByteArrayView bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder.decode(bytes);
}

qsizetype TextFile::utf16Length(QByteArrayView validUtf8)
{
    // Every byte but a continuation byte starts a character; four-byte
    // sequences are the ones that need a surrogate pair.
    qsizetype units = 0;
    for (const char c : validUtf8) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0) != 0x80) {
            units += byte >= 0xF0 ? 2 : 1;
        }
    }
    return units;
}

QString TextFile::writeAtomically(const QString &path, const QString &text)
{
    QSaveFile file(path);
    if (!openForAtomicWrite(file)) {
        return file.errorString();
    }
    // Stateful, so a surrogate pair split between two chunks is encoded whole.
    QStringEncoder encoder(QStringEncoder::Utf8);
    for (qsizetype from = 0; from < text.size(); from += kWriteChunk) {
        if (!writeWhole(file, encoder.encode(QStringView(text).mid(from, kWriteChunk)))) {
            return shortWriteError(file);
        }
    }
    if (!file.commit()) {
        return file.errorString();
    }
    return {};
}

QString TextFile::writeBytesAtomically(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    if (!openForAtomicWrite(file)) {
        return file.errorString();
    }
    if (!writeWhole(file, bytes)) {
        return shortWriteError(file);
    }
    if (!file.commit()) {
        return file.errorString();
    }
    return {};
}

QString TextFile::writeAtomically(const QString &path, const QString &text, TextEncoding encoding,
                                  AppLanguage language)
{
    if (encoding == TextEncoding::utf8) {
        return writeAtomically(path, text);
    }
    const TextEncodings::Encoded encoded = TextEncodings::encode(text, encoding);
    if (!encoded.ok()) {
        return unencodableMessage(text, encoded.failedAt, encoding, language);
    }
    return writeBytesAtomically(path, encoded.bytes);
}

qint64 TextFile::lineOf(QStringView text, qsizetype index)
{
    qint64 line = 1;
    for (qsizetype i = 0; i < index && i < text.size(); ++i) {
        if (text[i] == QLatin1Char('\n') ||
            (text[i] == QLatin1Char('\r') && !(i + 1 < text.size() && text[i + 1] == QLatin1Char('\n')))) {
            ++line;
        }
    }
    return line;
}

QString TextFile::unencodableMessage(QStringView text, qsizetype index, TextEncoding encoding, AppLanguage language)
{
    // A character outside the basic plane is two units; show it whole.
    const qsizetype length =
        index + 1 < text.size() && text[index].isHighSurrogate() && text[index + 1].isLowSurrogate() ? 2 : 1;
    return L10n::format("Line %@ holds \u201C%@\u201D, which %@ cannot hold. Nothing was saved; change that "
                        "character and save again.",
                        language,
                        {QString::number(lineOf(text, index)), text.mid(index, length).toString(),
                         TextEncodings::name(encoding)});
}
