// A 1 GB program, end to end. Too slow and too large for every run, so it is
// disabled; run it on its own with
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

TEST(BigProgram, DISABLED_OneGigabyteOpensAnalysesAndRenumbers)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("huge.nc");
    QElapsedTimer timer;
    const auto report = [&timer](const QString &step, int who = RUSAGE_SELF) {
        rusage usage{};
        getrusage(who, &usage);
        std::printf("%-34s %7.1f s   peak %6ld MB\n", qPrintable(step), double(timer.restart()) / 1000.0,
                    usage.ru_maxrss / 1024);
    };
    timer.start();
    QFile file(path); // in pieces, so the generator never holds the whole program
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (quint32 seed = 1; file.size() < (qint64(1) << 30); ++seed) {
        ASSERT_GT(file.write(ProgramGenerator::milling(qint64(64) << 20, seed).toUtf8()), 0);
    }
    file.close();
    report("generate");

    // `varn` first, while this process is still small, so each peak is its own.
    for (const char *command : {"analyze", "renumber"}) {
        QProcess varn;
        varn.setStandardOutputFile(QProcess::nullDevice());
        varn.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), {command, path});
        ASSERT_TRUE(varn.waitForFinished(-1));
        EXPECT_EQ(varn.exitCode(), 0) << varn.readAllStandardError().constData();
        report(QStringLiteral("varn %1 (child)").arg(command), RUSAGE_CHILDREN);
    }
    const TextFile::ReadResult read = TextFile::read(path);
    ASSERT_TRUE(read.ok());
    ASSERT_EQ(read.text.size(), file.size()); // ASCII: one UTF-16 unit per byte
    report("TextFile::read");
    EXPECT_GT(ProgramAnalyzer::analyze(read.text, AppLanguage::english).lineCount, 10'000'000);
    report("ProgramAnalyzer::analyze");
    ASSERT_TRUE(NCTools::numberingFits(read.text, 10, 10));
    EXPECT_GT(NCTools::renumber(read.text, 10, 10).size(), read.text.size() / 2);
    report("NCTools::renumber");
}
