#pragma once

#include "textfile.h"

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

class QIODevice;

// Reads a program file as UTF-8 a block of whole lines at a time, for work that
// looks at each line once (the analysis of a program far larger than the text
// a window would hold). Memory stays at about three times the block size
// whatever the size of the file; only a single line longer than a block makes
// the block grow to hold it.
//
// A block always ends just after a line break ("\n", or a "\r" that is not the
// last byte read so far), so no UTF-8 sequence and no "\r\n" pair is ever cut
// in two, and each block decodes on its own. The last block is whatever
// follows the last line break, and may lack one.
//
// It refuses exactly the files TextFile::read refuses, with the same offset for
// the first bad byte, counted from the start of the file. A UTF-8 byte order
// mark at the start is dropped as `read` drops it. Blocks handed out before an
// error were valid; the caller decides whether a result built from them counts
// (the command line does not).
class TextFileStream {
public:
    static constexpr qsizetype kDefaultBlockSize = qsizetype(4) << 20;

    // Opens `path`; a failure shows in `status()` and the first `next()` ends.
    explicit TextFileStream(const QString &path, qsizetype blockSize = kDefaultBlockSize);
    // Reads `device`, which the caller has opened and keeps alive (standard input).
    explicit TextFileStream(QIODevice *device, qsizetype blockSize = kDefaultBlockSize);
    ~TextFileStream();

    // Reads the file in `encoding` instead of UTF-8; before the first block.
    // A code page refuses nothing and leaves a byte order mark in the text.
    void setEncoding(TextEncoding encoding) { m_status.encoding = encoding; }

    TextFileStream(const TextFileStream &) = delete;
    TextFileStream &operator=(const TextFileStream &) = delete;

    // The next block of whole lines, valid until the next call; absent at the
    // end of the file or on an error (see `status()`).
    std::optional<QStringView> next();
    // The same block as bytes, checked to be valid UTF-8 but not decoded (or
    // converted from the code page to UTF-8): for keeping a program as UTF-8
    // (half the size of its UTF-16). Use either this or `next` on one stream.
    std::optional<QByteArray> nextBytes();

    // The outcome so far: the error, the offset of a bad byte, the system's
    // text and whether a byte order mark was dropped. `text` stays empty.
    const TextFile::ReadResult &status() const { return m_status; }

private:
    // Reads until a line break is in hand or the input ends.
    bool fill();
    // The next block of whole lines in m_bytes: where it begins (after a byte
    // order mark) and ends; absent at the end or on an error.
    struct Span {
        qsizetype begin = 0;
        qsizetype end = 0;
        bool first = false;
    };
    std::optional<Span> nextSpan();
    void consume(qsizetype end);
    void failInvalid(qsizetype begin, QByteArrayView block);
    void fail(TextFile::ReadError error, const QString &why);

    std::unique_ptr<QIODevice> m_owned;
    QIODevice *m_device = nullptr;
    qsizetype m_blockSize;
    QByteArray m_bytes; // read but not yet handed out: [0, m_filled)
    qsizetype m_filled = 0;
    qint64 m_consumed = 0;  // bytes of the file before m_bytes[0]
    QString m_text;         // the block handed out last
    bool m_atEnd = false;   // the device has nothing more
    bool m_started = false; // the first block (where a byte order mark may be) is out
    TextFile::ReadResult m_status;
};
