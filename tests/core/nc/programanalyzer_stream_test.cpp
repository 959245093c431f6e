// A program analysed piece by piece, as `varn analyze` reads a file, must give
// what the one-shot analysis of the whole text gives: same lines, same modal
// state across the cuts, same warnings, same cancellation checks. Pieces are
// cut everywhere a cut can hurt: inside a line, between "\r" and "\n", inside
// a multi-byte character, and files are read in blocks down to one byte.

#include "programanalyzer_reference.h"

#include "nc/programanalyzer.h"
#include "programgenerator.h"
#include "workspace/textfile.h"
#include "workspace/textfilestream.h"

#include <QBuffer>
#include <QDir>
#include <gtest/gtest.h>

namespace {

struct Streamed {
    ProgramAnalysis analysis;
    TextFile::ReadResult status;
    bool blockWithoutBreak = false; // some block but the last lacked a line break at its end
    bool crLfSplit = false;         // a block ended with "\r" and the next began with "\n"
};

Streamed streamBytes(const QByteArray &bytes, qsizetype blockSize,
                     AppLanguage language = AppLanguage::english)
{
    QByteArray copy = bytes;
    QBuffer device(&copy);
    EXPECT_TRUE(device.open(QIODevice::ReadOnly));
    TextFileStream stream(&device, blockSize);
    ProgramAnalyzer::Session session(language);
    Streamed out;
    bool lastEndedWithBreak = true;
    bool lastEndedWithCr = false;
    while (const std::optional<QStringView> block = stream.next()) {
        out.blockWithoutBreak |= !lastEndedWithBreak;
        out.crLfSplit |= lastEndedWithCr && block->startsWith(u'\n');
        lastEndedWithCr = block->endsWith(u'\r');
        lastEndedWithBreak = !block->isEmpty() && (block->back() == u'\n' || block->back() == u'\r');
        session.feed(*block);
    }
    out.status = stream.status();
    out.analysis = session.finish();
    return out;
}

ProgramAnalysis oneShot(const QByteArray &bytes, AppLanguage language = AppLanguage::english)
{
    const TextFile::ReadResult read = TextFile::decode(bytes);
    EXPECT_TRUE(read.ok());
    return ProgramAnalyzer::analyze(read.text, language);
}

void expectSame(const ProgramAnalysis &actual, const ProgramAnalysis &expected, const std::string &context)
{
    const QString diff = ReferenceAnalyzer::difference(actual, expected);
    EXPECT_TRUE(diff.isEmpty()) << context << "\n" << diff.toStdString();
}

// Short programs that hold every line framing and every character width,
// each one with its tricky part near where small blocks end.
const QList<QByteArray> &awkwardPrograms()
{
    static const QList<QByteArray> programs = [] {
        const QByteArray program = ProgramGenerator::milling(2'500).toUtf8();
        QByteArray crlf = program;
        crlf.replace("\n", "\r\n");
        QByteArray loneCr = program;
        loneCr.replace('\n', '\r');
        return QList<QByteArray>{
            program,
            crlf,
            loneCr,
            crlf + "\r\n",
            loneCr + "M30\r",
            "%\r\n(caf\xC3\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E)\r\nT1 M6 (\xC3\xB1)\nS1000 M3\r\rG91 G1 X10 "
            "F100\n\nX10\r\nM30",
            "\xEF\xBB\xBF%\nO0001 (DEMO)\nG20 G0 X1\r\n\r\n\n\r\rG21 G1 Z-1\n%\n",
            "\xEF\xBB\xBF",
            "\xEF\xBB\xBF\xEF\xBB\xBF%\n\xEF\xBB\xBF(not a comment line)\n\xEF\xBB\xBFO12\r\n",
            "",
            "\n",
            "\r",
            "\r\n",
            "G1 X1 (no line break at all, \xE2\x82\xAC)",
            "\xC2\xA0\xE3\x80\x80(indented)\r\n;\xF0\x9F\x94\xA7 tool\r\nT01 (\xE6\x9D\xBF)\nG1 X.5 Y-.5\r",
        };
    }();
    return programs;
}

} // namespace

TEST(ProgramAnalyzerSession, FileBlocksOfEverySizeGiveTheOneShotResult)
{
    for (const QByteArray &bytes : awkwardPrograms()) {
        const ProgramAnalysis expected = oneShot(bytes);
        for (const qsizetype blockSize : {1, 2, 3, 4, 5, 6, 7, 64, 1000, 1 << 22}) {
            const Streamed streamed = streamBytes(bytes, blockSize);
            ASSERT_TRUE(streamed.status.ok());
            EXPECT_EQ(streamed.status.hadByteOrderMark, bytes.startsWith("\xEF\xBB\xBF"));
            EXPECT_FALSE(streamed.blockWithoutBreak);
            EXPECT_FALSE(streamed.crLfSplit);
            expectSame(streamed.analysis, expected,
                       "block size " + std::to_string(blockSize) + " of: " + bytes.left(60).toStdString());
        }
    }
}

TEST(ProgramAnalyzerSession, PiecesCutAnywhereGiveTheOneShotResult)
{
    // Pieces of a decoded text may end inside a line, between "\r" and "\n",
    // even between the two halves of a surrogate pair.
    for (const QByteArray &bytes : awkwardPrograms()) {
        const QString text = TextFile::decode(bytes).text;
        const ProgramAnalysis expected = ProgramAnalyzer::analyze(text, AppLanguage::spanish);
        for (qsizetype piece = 1; piece <= 7; ++piece) {
            ProgramAnalyzer::Session session(AppLanguage::spanish);
            for (qsizetype from = 0; from < text.size(); from += piece) {
                EXPECT_TRUE(session.feed(QStringView(text).mid(from, piece)));
            }
            expectSame(session.finish(), expected, "pieces of " + std::to_string(piece));
        }
        for (qsizetype cut = 0; cut <= std::min<qsizetype>(text.size(), 300); ++cut) {
            ProgramAnalyzer::Session session(AppLanguage::spanish);
            session.feed(QStringView(text).left(cut));
            session.feed(QStringView());
            session.feed(QStringView(text).sliced(cut));
            expectSame(session.finish(), expected, "cut at " + std::to_string(cut));
        }
    }
}

TEST(ProgramAnalyzerSession, CancellationIsAskedAtTheSameLinesAndStopsFeeding)
{
    const QString text = QString("G0 X1\r\n").repeated(1100); // 1101 lines: asked at 0, 512, 1024
    for (const qsizetype piece : {1, 5, 700, 100'000}) {
        for (const int stopAt : {2, 0}) {
            int asked = 0;
            ProgramAnalyzer::Session session(AppLanguage::english, [&] { return ++asked == stopAt; });
            bool going = true;
            for (qsizetype from = 0; from < text.size(); from += piece) {
                going = session.feed(QStringView(text).mid(from, piece)) && going;
            }
            const ProgramAnalysis result = session.finish();
            EXPECT_EQ(going, stopAt == 0);
            EXPECT_EQ(result.cancelled, stopAt != 0);
            EXPECT_EQ(asked, stopAt == 0 ? 3 : 2) << "pieces of " << piece;
            if (stopAt == 0) {
                EXPECT_EQ(result.lineCount, 1101);
            }
        }
    }
}

TEST(TextFileStream, BadUtf8IsReportedAtItsOffsetInTheFileWhateverBlockItIsIn)
{
    const QByteArray lines = ProgramGenerator::milling(3'000).toUtf8();
    struct Case {
        QByteArray bytes;
        qint64 offset;
    };
    const QList<Case> cases = {
        {lines + "(\xFF)\n", lines.size() + 1},
        {lines + "(ok \xC3\xA9)\n\xC3\nM30", lines.size() + 8},    // a lead byte before "\n"
        {lines + "M30 (\xE2\x82", lines.size() + 5},               // cut short by the end of the file
        {"\xEF\xBB\xBF" + lines + "\xC0\xAF\n", 3 + lines.size()}, // overlong, counted with the mark
        {lines + "\xED\xA0\x80\r\n", lines.size()},                // a surrogate
        {"\xEF\xBB\n", 0},
    };
    for (const Case &c : cases) {
        ASSERT_EQ(TextFile::decode(c.bytes).invalidByteOffset, c.offset); // what a whole read says
        for (const qsizetype blockSize : {1, 3, 7, 512, 1 << 22}) {
            const Streamed streamed = streamBytes(c.bytes, blockSize);
            EXPECT_EQ(streamed.status.error, TextFile::ReadError::invalidUtf8) << blockSize;
            EXPECT_EQ(streamed.status.invalidByteOffset, c.offset) << "block size " << blockSize;
        }
    }
}

TEST(CorpusAnalyzer, StreamedFilesGiveTheOneShotResult)
{
    const QDir dir(QStringLiteral(VARN_CORPUS_DIR));
    const QFileInfoList files = dir.entryInfoList(QDir::Files, QDir::Name);
    if (files.isEmpty()) {
        GTEST_SKIP() << "no corpus at " << VARN_CORPUS_DIR;
    }
    for (const QFileInfo &info : files) {
        const TextFile::ReadResult whole = TextFile::read(info.filePath());
        for (const qsizetype blockSize : {qsizetype(997), TextFileStream::kDefaultBlockSize}) {
            TextFileStream stream(info.filePath(), blockSize);
            ProgramAnalyzer::Session session(AppLanguage::english);
            while (const std::optional<QStringView> block = stream.next()) {
                session.feed(*block);
            }
            EXPECT_EQ(stream.status().error, whole.error) << info.fileName().toStdString();
            EXPECT_EQ(stream.status().invalidByteOffset, whole.invalidByteOffset);
            if (whole.ok()) {
                expectSame(session.finish(), ProgramAnalyzer::analyze(whole.text, AppLanguage::english),
                           info.fileName().toStdString() + " in blocks of " + std::to_string(blockSize));
            }
        }
    }
}
