// A program analysed piece by piece, as `varn analyze` reads a file, must give
// what the one-shot analysis gives. Pieces are cut everywhere a cut can hurt:
// inside a line, between "\r" and "\n", inside a multi-byte character.

#include "programanalyzer_reference.h"

#include "nc/programanalyzer.h"
#include "programgenerator.h"
#include "base/textfile.h"
#include "base/textfilestream.h"

#include <QBuffer>
#include <gtest/gtest.h>

namespace {

struct Streamed {
    ProgramAnalysis analysis;
    TextFile::ReadResult status;
    bool badBlockEnd = false; // a block but the last ended inside a line, or "\r" | "\n" was split
};

Streamed streamBytes(QByteArray bytes, qsizetype blockSize)
{
    QBuffer device(&bytes);
    EXPECT_TRUE(device.open(QIODevice::ReadOnly));
    TextFileStream stream(&device, blockSize);
    ProgramAnalyzer::Session session(AppLanguage::english);
    Streamed out;
    bool open = false, endedWithCr = false;
    while (const std::optional<QStringView> block = stream.next()) {
        out.badBlockEnd |= open || (endedWithCr && block->startsWith(u'\n'));
        endedWithCr = block->endsWith(u'\r');
        open = block->isEmpty() || (block->back() != u'\n' && block->back() != u'\r');
        session.feed(*block);
    }
    out.status = stream.status();
    out.analysis = session.finish();
    return out;
}

// Every line framing and character width, with the tricky parts near where small blocks end.
QList<QByteArray> awkwardPrograms()
{
    const QByteArray program = ProgramGenerator::milling(2'500).toUtf8();
    const QByteArray crlf = QByteArray(program).replace("\n", "\r\n");
    const QByteArray loneCr = QByteArray(program).replace('\n', '\r');
    return {program, crlf, loneCr, crlf + "\r\n", loneCr + "M30\r",
            "%\r\n(caf\xC3\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E)\r\nT1 M6 (\xC3\xB1)\nS1000 M3\r\rG91 G1 X10 F100\n\nX10\r\nM30",
            "\xEF\xBB\xBF%\nO0001 (DEMO)\nG20 G0 X1\r\n\r\n\n\r\rG21 G1 Z-1\n%\n", "\xEF\xBB\xBF",
            "\xEF\xBB\xBF\xEF\xBB\xBF%\n\xEF\xBB\xBF(not a comment line)\n\xEF\xBB\xBFO12\r\n", "", "\n", "\r", "\r\n",
            "G1 X1 (no line break at all, \xE2\x82\xAC)",
            "\xC2\xA0\xE3\x80\x80(indented)\r\n;\xF0\x9F\x94\xA7 tool\r\nT01 (\xE6\x9D\xBF)\nG1 X.5 Y-.5\r"};
}

void expectSame(const ProgramAnalysis &actual, const ProgramAnalysis &expected, const std::string &context)
{
    const QString diff = ReferenceAnalyzer::difference(actual, expected);
    EXPECT_TRUE(diff.isEmpty()) << context << "\n" << diff.toStdString();
}

} // namespace

TEST(ProgramAnalyzerSession, BlocksAndPiecesOfEverySizeGiveTheOneShotResult)
{
    for (const QByteArray &bytes : awkwardPrograms()) {
        SCOPED_TRACE(bytes.left(60).toStdString());
        const QString text = TextFile::decode(bytes).text;
        const ProgramAnalysis expected = ProgramAnalyzer::analyze(text, AppLanguage::english);
        const ProgramAnalysis spanish = ProgramAnalyzer::analyze(text, AppLanguage::spanish);
        for (const qsizetype blockSize : {1, 2, 3, 4, 5, 6, 7, 64, 1000, 1 << 22}) {
            const Streamed streamed = streamBytes(bytes, blockSize);
            ASSERT_TRUE(streamed.status.ok());
            EXPECT_EQ(streamed.status.hadByteOrderMark, bytes.startsWith("\xEF\xBB\xBF"));
            EXPECT_FALSE(streamed.badBlockEnd);
            expectSame(streamed.analysis, expected, "block size " + std::to_string(blockSize));
        }
        // Decoded pieces may end anywhere, even between the halves of a surrogate pair.
        const auto pieces = [&](qsizetype size, qsizetype cut) {
            ProgramAnalyzer::Session session(AppLanguage::spanish);
            session.feed(QStringView(text).left(cut));
            session.feed(QStringView());
            for (qsizetype from = cut; from < text.size(); from += size) {
                EXPECT_TRUE(session.feed(QStringView(text).mid(from, size)));
            }
            expectSame(session.finish(), spanish, "pieces of " + std::to_string(size) + " after " + std::to_string(cut));
        };
        for (qsizetype size = 1; size <= 7; ++size) {
            pieces(size, 0);
        }
        for (qsizetype cut = 0; cut <= std::min<qsizetype>(text.size(), 300); ++cut) {
            pieces(text.size() + 1, cut);
        }
    }
}

TEST(TextFileStream, BadUtf8IsReportedAtItsOffsetInTheFileWhateverBlockItIsIn)
{
    const QByteArray lines = ProgramGenerator::milling(3'000).toUtf8();
    const std::pair<QByteArray, qint64> cases[] = {
        {lines + "(\xFF)\n", lines.size() + 1},
        {lines + "(ok \xC3\xA9)\n\xC3\nM30", lines.size() + 8},    // a lead byte before "\n"
        {lines + "M30 (\xE2\x82", lines.size() + 5},               // cut short by the end of the file
        {"\xEF\xBB\xBF" + lines + "\xC0\xAF\n", 3 + lines.size()}, // overlong, counted with the mark
        {lines + "\xED\xA0\x80\r\n", lines.size()},                // a surrogate
        {"\xEF\xBB\n", 0},
    };
    for (const auto &[bytes, offset] : cases) {
        ASSERT_EQ(TextFile::decode(bytes).invalidByteOffset, offset); // what a whole read says
        for (const qsizetype blockSize : {1, 3, 7, 512, 1 << 22}) {
            const Streamed streamed = streamBytes(bytes, blockSize);
            EXPECT_EQ(streamed.status.error, TextFile::ReadError::invalidUtf8) << blockSize;
            EXPECT_EQ(streamed.status.invalidByteOffset, offset) << "block size " << blockSize;
        }
    }
}
