#include "workspace/textfile.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// Read, then write back: the bytes on disk must not move by one.
void expectRoundTrip(const QByteArray &bytes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("program.nc");
    writeBytes(path, bytes);
    const TextFile::ReadResult read = TextFile::read(path);
    ASSERT_TRUE(read.ok()) << int(read.error);
    const QString copy = dir.filePath("copy.nc");
    ASSERT_EQ(TextFile::writeAtomically(copy, read.text), QString());
    EXPECT_EQ(readBytes(copy), bytes);
}

} // namespace

TEST(TextFile, LineEndsBlanksLongLinesAndMissingFinalNewlineRoundTripByteForByte)
{
    QByteArray longLine = "N10 G1";
    while (longLine.size() < (1 << 20)) {
        longLine += " X1.2345 Y-6.789";
    }
    for (const QByteArray &bytes : {
             QByteArray("%\r\nO1000 (CRLF)\r\nN10 G0 X0\r\nM30\r\n%\r\n"),
             QByteArray("G0 X1\nG1 Y2\r\nG2 Z3\rM30"), // mixed, lone CR, no final newline
             QByteArray("N10 G0 X0   \t\n\n\nN20 M30"), QByteArray("(ÁNGULO 45° — AÇO INOX) € 😀\r\n"), QByteArray(),
             QByteArray("A\0B\n", 4), // a NUL is valid UTF-8 and must survive
             longLine + "\r\nM30\r\n",
             // A surrogate pair straddling the writer's chunk boundary (1 Mi UTF-16 units) stays one character.
             QByteArray((1 << 20) - 1, 'X') + "😀 tail"}) {
        expectRoundTrip(bytes);
    }
}

TEST(TextFile, InvalidUtf8IsRefusedWithTheOffsetOfTheFirstBadSequence)
{
    const std::pair<QByteArray, qint64> cases[] = { // offset -1: well-formed
        {"G0 X1\n\x80 rest", 6},      // stray continuation byte
        {"ok\xC0\xAF", 2},            // overlong two-byte forms
        {"ok\xC1\xBF", 2},            //
        {"ok \xE0\x80\xAF", 3},       // overlong three-byte form
        {"ok \xF0\x80\x80\xAF", 3},   // overlong four-byte form
        {"abc\xED\xA0\x80", 3},       // UTF-16 surrogate
        {"abc\xF4\x90\x80\x80", 3},   // above U+10FFFF
        {"abc\xF5\x80\x80\x80", 3},   // lead byte that cannot occur
        {"\xFF", 0},                  //
        {"N10 \xC3(", 4},             // lead byte followed by ASCII
        {"N10 \xE2\x82", 4},          // cut short by the end of the file
        {"N10 X1.5 (\xE9t\xE9)", 10}, // Latin-1, the usual culprit
        {"\xC3\xA9 then \xE9", 8},    // valid multi-byte before the bad one
        {"\xEF\xBB\xBFG0 \x80", 6},   // the offset counts the byte order mark
        {"\xC2\x80 \xDF\xBF \xE0\xA0\x80 \xED\x9F\xBF \xEF\xBF\xBF \xF0\x90\x80\x80 \xF4\x8F\xBF\xBF", -1},
    };
    for (const auto &[bytes, offset] : cases) {
        SCOPED_TRACE(bytes.toHex(' ').toStdString());
        const TextFile::ReadResult result = TextFile::decode(bytes);
        EXPECT_EQ(TextFile::firstInvalidUtf8Offset(bytes), offset);
        EXPECT_EQ(result.ok() ? -1 : result.invalidByteOffset, offset);
        EXPECT_EQ(result.text.isEmpty(), offset >= 0); // never a half-decoded program
    }
}

TEST(TextFile, ByteOrderMarkIsDroppedOnlyAtTheStartAndMissingFilesCannotBeOpened)
{
    const TextFile::ReadResult withMark = TextFile::decode("\xEF\xBB\xBF%\nO1\n");
    EXPECT_TRUE(withMark.hadByteOrderMark);
    EXPECT_EQ(withMark.text, "%\nO1\n");
    EXPECT_FALSE(TextFile::decode("%\nO1\n").hadByteOrderMark);
    EXPECT_EQ(TextFile::decode("A\xEF\xBB\xBF").text, QString("A") + QChar(0xFEFF));
    QTemporaryDir dir;
    for (const QString &path : {dir.filePath("nope.nc"), dir.path()}) {
        const TextFile::ReadResult result = TextFile::read(path);
        EXPECT_EQ(result.error, TextFile::ReadError::cannotOpen);
        EXPECT_FALSE(result.errorString.isEmpty());
    }
}
