// Programs nobody means to write: a file of NUL bytes, a byte order mark (or
// two), Latin-1 bytes, one line of 50 MB. Each either opens and goes through
// the analysis and the tools, or is refused with the byte offset; the `varn`
// tool says the same. Huge numbers never reach the fatal paths from `varn`.
#include "nc/gcodehighlighter.h"
#include "nc/nctools.h"
#include "nc/programanalyzer.h"
#include "base/textfile.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct VarnRun {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

VarnRun varn(const QStringList &arguments)
{
    QProcess process;
    process.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), arguments);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(120000)) << "varn is built with the tests";
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            process.readAllStandardOutput(), process.readAllStandardError()};
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &bytes)
{
    EXPECT_TRUE(TextFile::writeBytesAtomically(dir.filePath(name), bytes).isEmpty());
    return dir.filePath(name);
}

} // namespace

TEST(OddProgram, OpensAndWorksOrIsRefusedWithItsOffset)
{
    struct Case {
        const char *name;
        QByteArray bytes;
        qint64 invalidAt; // -1: the file opens
        qsizetype lines;  // as the analyzer counts them, when it opens
    };
    const Case cases[] = {
        {"NUL bytes", QByteArray(1 << 20, '\0'), -1, 1},
        {"byte order mark", "\xEF\xBB\xBF%\nO1\nG0 X1\nM30\n%\n", -1, 6},
        {"two byte order marks", "\xEF\xBB\xBF\xEF\xBB\xBF%\nM30\n", -1, 3},
        {"Latin-1 comment", "%\nO1 (\xC1NGULO 45\xBA)\nM30\n", 6, 0},
        {"Latin-1 after a mark", "\xEF\xBB\xBFG0 (\xE9)", 7, 0},
        {"truncated at the end", "G0 X1\n\xE2\x82", 6, 0},
        {"one line of 50 MB", QByteArray("G1 X1.5 Y-2 F300 ").repeated(50 << 20 >> 4).left(50 << 20), -1, 1},
        {"lone carriage returns", QByteArray("G0 X1\r").repeated(1000), -1, 1001},
    };
    for (const Case &odd : cases) {
        SCOPED_TRACE(odd.name);
        QTemporaryDir dir;
        const QString path = writeFile(dir, "odd.nc", odd.bytes);
        const TextFile::ReadResult read = TextFile::read(path);
        const VarnRun analyzed = varn({"analyze", "--json", path});
        if (odd.invalidAt >= 0) {
            EXPECT_EQ(read.error, TextFile::ReadError::invalidUtf8);
            EXPECT_EQ(read.invalidByteOffset, odd.invalidAt);
            EXPECT_TRUE(read.text.isEmpty());
            EXPECT_EQ(analyzed.status, 2);
            EXPECT_TRUE(
                analyzed.err.contains("not valid UTF-8 (byte " + QByteArray::number(odd.invalidAt) + ")"))
                << analyzed.err.constData();
            continue;
        }
        ASSERT_TRUE(read.ok()) << read.invalidByteOffset;
        EXPECT_EQ(ProgramAnalyzer::analyze(read.text, AppLanguage::english).lineCount, odd.lines);
        EXPECT_EQ(NCTools::renumber(read.text, 10, 10).count(u'\n'), odd.lines - 1);
        EXPECT_FALSE(GCodeHighlighter::spans(read.text, 0, 4096, AppLanguage::english).runs.isEmpty());
        EXPECT_EQ(analyzed.status, 0) << analyzed.err.constData();
        EXPECT_TRUE(analyzed.out.contains("\"lineCount\":" + QByteArray::number(odd.lines)));
        // Saving writes back what was read, without the one mark that was dropped.
        const QString copy = dir.filePath("copy.nc");
        ASSERT_EQ(TextFile::writeAtomically(copy, read.text), QString());
        QFile written(copy);
        ASSERT_TRUE(written.open(QIODevice::ReadOnly));
        EXPECT_TRUE(written.readAll() == (read.hadByteOrderMark ? odd.bytes.mid(3) : odd.bytes));
    }
}
