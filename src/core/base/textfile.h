#pragma once

#include "l10n.h"
#include "textencoding.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

// Reading and writing program files as UTF-8 (or, when the user names one, an
// 8-bit code page: see TextEncodings), shared by the desktop program and
// `varn` so both refuse the same files and report the same byte offset.
//
// Reading is all or nothing: a file that is not valid UTF-8 gives no text at
// all, never a half-decoded program with replacement characters that a later
// save would write back over the user's file.
//
// A UTF-8 byte order mark at the start of a file is dropped from the text and
// reported in `hadByteOrderMark`; a save then writes the file without it. We
// drop it because a controller receives the text as Latin-1 and would choke on
// the three extra bytes in front of "%". Files without a mark (nearly all of
// them) round-trip byte for byte: line ends, trailing blanks and a missing
// final newline are left exactly as they were.
//
// Writing goes through QSaveFile: the bytes land in a temporary file beside the
// target, which replaces the target only once everything is on disk. A write
// that fails leaves the old file whole.
class TextFile {
public:
    enum class ReadError {
        none,
        cannotOpen,  // missing, no permission, a folder; `errorString` holds the system's text
        cannotRead,  // the read itself failed; `errorString` holds the system's text
        invalidUtf8, // `invalidByteOffset` is the first byte of the first bad sequence
    };

    struct ReadResult {
        QString text;
        ReadError error = ReadError::none;
        qint64 invalidByteOffset = -1;
        QString errorString;
        bool hadByteOrderMark = false;
        TextEncoding encoding = TextEncoding::utf8; // what the text was read as


        bool ok() const { return error == ReadError::none; }
    };

    // In a code page every byte is a character, so only UTF-8 can be refused;
    // a code page reads the bytes as they are, a byte order mark included.
    static ReadResult read(const QString &path, TextEncoding encoding = TextEncoding::utf8);
    // The decoding half of `read`, for bytes that did not come from a file.
    static ReadResult decode(const QByteArray &bytes, TextEncoding encoding = TextEncoding::utf8);
    // Offset of the first byte that does not start or continue a well-formed
    // UTF-8 sequence (overlong forms, surrogates, values past U+10FFFF and
    // sequences cut short by the end count as bad); -1 when all is well-formed.
    static qint64 firstInvalidUtf8Offset(QByteArrayView bytes);

    // Writes `text` as UTF-8 (no byte order mark) and replaces `path` atomically.
    // Returns the system's description of the failure, or an empty string.
    // UTF-8 that is known to be valid, decoded as it stands. QString::fromUtf8
    // silently drops a U+FEFF at the start of what it is given, which turns a
    // second byte order mark, or one that starts a block of a larger text,
    // into lost text; every piece of program text is decoded through here.
    static QString decodeVerbatim(QByteArrayView bytes);
    // How many UTF-16 units valid UTF-8 decodes to, without decoding it.
    static qsizetype utf16Length(QByteArrayView validUtf8);

    static QString writeAtomically(const QString &path, const QString &text);
    // The same in `encoding`. A code page writes every character it can hold
    // as its byte, so unchanged text gives the bytes it was read from; on a
    // character it cannot hold nothing is written and the text says which
    // character and on which line, in `language`.
    static QString writeAtomically(const QString &path, const QString &text, TextEncoding encoding,
                                   AppLanguage language);
    // The user's text for a character at `index` of `text` that `encoding` cannot hold.
    static QString unencodableMessage(QStringView text, qsizetype index, TextEncoding encoding, AppLanguage language);
    // The 1-based line of the character at `index`; "\n", "\r\n" and a lone "\r" end lines.
    static qint64 lineOf(QStringView text, qsizetype index);
    // The same for bytes that are already encoded.
    static QString writeBytesAtomically(const QString &path, const QByteArray &bytes);
};
