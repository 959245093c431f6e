// A 1 GB program, end to end. Too slow and too large for every test run, so it
// is disabled; run it on its own with
//   hardening_tests --gtest_also_run_disabled_tests --gtest_filter='*OneGigabyte*'
// It prints the time and the peak memory of each step.
#include "nc/nctools.h"
#include "nc/programanalyzer.h"
#include "programgenerator.h"
#include "workspace/textfile.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/resource.h>

namespace {

// Peak resident memory so far, in MB: of this process, or of its finished children.
long peakMegabytes(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_maxrss / 1024;
}

void report(const char *step, const QElapsedTimer &timer, int who = RUSAGE_SELF)
{
    std::printf("%-34s %7.1f s   peak %6ld MB\n", step, double(timer.elapsed()) / 1000.0, peakMegabytes(who));
    std::fflush(stdout);
}

} // namespace

TEST(BigProgram, DISABLED_OneGigabyteOpensAnalysesAndRenumbers)
{
    constexpr qint64 kBytes = qint64(1) << 30;
    constexpr qint64 kPiece = qint64(64) << 20;
    QTemporaryDir dir;
    const QString path = dir.filePath("huge.nc");
    QElapsedTimer timer;
    timer.start();
    {
        // Written in pieces so the generator never holds the whole program.
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        for (quint32 seed = 1; file.size() < kBytes; ++seed) {
            ASSERT_GT(file.write(ProgramGenerator::milling(kPiece, seed).toUtf8()), 0);
        }
    }
    report("generate", timer);
    const qint64 fileSize = QFileInfo(path).size();
    ASSERT_GE(fileSize, kBytes);

    // `varn` first, while this process is still small, so each peak is its own.
    for (const QStringList &arguments : {QStringList{"analyze", path}, QStringList{"renumber", path}}) {
        timer.restart();
        QProcess varn;
        varn.setStandardOutputFile(QProcess::nullDevice());
        varn.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), arguments);
        ASSERT_TRUE(varn.waitForFinished(-1));
        EXPECT_EQ(varn.exitCode(), 0) << varn.readAllStandardError().constData();
        report(qPrintable("varn " + arguments.first() + " (child)"), timer, RUSAGE_CHILDREN);
    }

    timer.restart();
    const TextFile::ReadResult read = TextFile::read(path);
    ASSERT_TRUE(read.ok());
    ASSERT_EQ(read.text.size(), fileSize); // ASCII: one UTF-16 unit per byte
    report("TextFile::read", timer);

    timer.restart();
    const ProgramAnalysis analysis = ProgramAnalyzer::analyze(read.text, AppLanguage::english);
    EXPECT_GT(analysis.lineCount, 10'000'000);
    report("ProgramAnalyzer::analyze", timer);

    timer.restart();
    ASSERT_TRUE(NCTools::numberingFits(read.text, 10, 10));
    const QString renumbered = NCTools::renumber(read.text, 10, 10);
    EXPECT_GT(renumbered.size(), read.text.size() / 2);
    report("NCTools::renumber", timer);
}
