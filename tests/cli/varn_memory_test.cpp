// `varn analyze` on a program far larger than a screenful stays within twice
// the file's size, and names the byte of a bad character far past its first block.
#include "programgenerator.h"
#include "varnhome.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const char *const kVarn = VARN_BINARY_DIR "/src/cli/varn";

// Peak resident memory of `varn analyze --json` on FILE (by name or as standard
// input), in bytes. A forked child counts the pages it shares with the test
// until it execs, so the test holds no large buffer when it forks.
qint64 peakResidentBytes(const QString &path, bool viaStandardInput)
{
    const QByteArray file = QFile::encodeName(path);
    const pid_t child = fork();
    if (child == 0) {
        const int devNull = open("/dev/null", O_WRONLY);
        dup2(devNull, STDOUT_FILENO);
        if (viaStandardInput) {
            dup2(open(file.constData(), O_RDONLY), STDIN_FILENO);
            execl(kVarn, "varn", "analyze", "--json", static_cast<char *>(nullptr));
        } else {
            execl(kVarn, "varn", "analyze", "--json", file.constData(), static_cast<char *>(nullptr));
        }
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        ADD_FAILURE() << "varn analyze did not run: status " << status;
        return -1;
    }
    return qint64(usage.ru_maxrss) * 1024;
}

} // namespace

TEST(VarnMemory, AnalyzeStaysUnderTwiceTheFileSizeAndNamesABadByteFarIntoIt)
{
    const VarnHome home;
    const QByteArray program = ProgramGenerator::milling(20'000'000).toUtf8();
    const QString large = home.write("large.nc", program + "(caf\xC3\xA9 \xE9)\nM30\n");
    const QString small = home.write("small.nc", "%\nT1 M6\nS1000 M3\nG1 X1 F100\nM30\n%\n");

    const VarnRun bad = home.run({"analyze", large});
    EXPECT_EQ(bad.status, 2);
    EXPECT_TRUE(bad.out.isEmpty());
    // "(caf", two bytes of "é", " ", then the Latin-1 byte.
    EXPECT_EQ(bad.err, "varn: " + large.toUtf8() + ": not valid UTF-8 (byte " + QByteArray::number(program.size() + 7) + ").\n");

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers keep freed memory in quarantine; peak memory means nothing here";
#endif
    home.write("large.nc", program);
    const qint64 size = QFile(large).size();
    // What does not grow with the program (Qt, ICU, the translations, the
    // code): about 10 MB here, measured the same way so it cancels out exactly.
    const qint64 baseline = peakResidentBytes(small, false);
    ASSERT_GT(baseline, 0);
    for (const bool viaStandardInput : {false, true}) {
        const qint64 peak = peakResidentBytes(large, viaStandardInput);
        EXPECT_LT(peak, baseline + 2 * size)
            << "peak " << peak / 1'000'000 << " MB for a " << size / 1'000'000 << " MB file, baseline "
            << baseline / 1'000'000 << " MB" << (viaStandardInput ? " (standard input)" : "");
    }
}
