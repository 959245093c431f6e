#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The encodings a program file may be read and written in: UTF-8, and the
// 8-bit code pages old controls and DOS-era CAM systems wrote.
enum class TextEncoding { utf8, windows1252, iso88591, cp850, cp437, windows1251, koi8r };

// Conversion between the 8-bit code pages and text, with one promise: a file
// read in a code page and written back unchanged gives the same bytes, every
// one of the 256 byte values included.
//
// The mappings come from the C library's converter (iconv), asked once per
// byte value when a code page is first used; after that a conversion is a
// table lookup, so a 100 MB program converts at memory speed. A byte the code
// page leaves undefined (0x81, 0x8D, 0x8F, 0x90 and 0x9D in Windows-1252, 0x98
// in Windows-1251) reads as the C1 control character of the same value, as
// ISO-8859-1 would read it, and writes back as that byte: the file keeps it
// and the editor shows it as a control character instead of refusing the file.
//
// Writing refuses a character the code page cannot hold and says where it is;
// it never puts a "?" in its place.
namespace TextEncodings {

// The code pages in the order they are offered when nothing in a file points
// to one of them.
QList<TextEncoding> legacy();
// "UTF-8", "Windows-1252", "ISO-8859-1", "CP850", "CP437", "Windows-1251", "KOI8-R".
QString name(TextEncoding encoding);
// A name as a user types it: any case, with or without the dash, and the
// usual aliases ("cp1252", "latin1", "ibm850"). None when unknown.
std::optional<TextEncoding> fromName(QStringView name);
// The names `fromName` takes, for messages: "utf-8, windows-1252, …".
QString nameList();

// Whether `encoding` gives `byte` a character of its own (always true for UTF-8's ASCII range).
bool defines(TextEncoding encoding, unsigned char byte);

// Every byte is one character. Not for UTF-8 (see TextFile).
QString decode(QByteArrayView bytes, TextEncoding encoding);
// The same text as UTF-8 bytes, without a UTF-16 copy on the way.
QByteArray decodeToUtf8(QByteArrayView bytes, TextEncoding encoding);

struct Encoded {
    QByteArray bytes;
    qsizetype failedAt = -1; // the first character the code page cannot hold (UTF-16 index)
    bool ok() const { return failedAt < 0; }
};
// All or nothing: on a character the code page cannot hold, `bytes` is empty.
Encoded encode(QStringView text, TextEncoding encoding);

} // namespace TextEncodings
