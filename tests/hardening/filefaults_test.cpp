// Saving when the disk says no: a folder that cannot be written, a disk that
// fills up mid-file, a process killed in the middle of a save. Whatever
// happens, the file on disk is the old content or the new, whole, and the
// document, backups and machine profiles keep what the user has.
#include "machines/machinestore.h"
#include "programgenerator.h"
#include "workspace/backupstore.h"
#include "workspace/editordocument.h"
#include "base/textfile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <linux/fs.h>
#include <random>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

// Root writes anywhere whatever the permission bits say, so a read-only folder
// has to be the immutable attribute. False where the file system has none.
bool setImmutable(const QString &folder, bool on)
{
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY);
    int flags = 0;
    const bool got = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    const bool done = got && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    ::close(fd);
    return done;
}

// A full disk: under the size cap write() stores what fits and fails with EFBIG
// (SIGXFSZ stays ignored for the rest of the run). RLIM_INFINITY lifts it.
bool capFileSize(rlim_t bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

const QByteArray kOld = "%\nO1000 (OLD)\nN10 G0 X0\nM30\n%\n";
const QString &newText() // larger than the cap below
{
    static const QString text = ProgramGenerator::milling(1 << 20);
    return text;
}

QDateTime fixedClock()
{
    return QDateTime(QDate(2025, 3, 3), QTime(14, 5, 9));
}

// Every way the program saves a file: writes into `folder` over `target`, true when it says it succeeded.
const std::pair<const char *, std::function<bool(const QString &folder, const QString &target)>> kWriters[] =
    {
        {"text",
         [](const QString &, const QString &target) {
             return TextFile::writeAtomically(target, newText()).isEmpty();
         }},
        {"document",
         [](const QString &, const QString &target) {
             EditorDocument document(QUrl::fromLocalFile(target), QString::fromUtf8(kOld));
             document.setText(newText());
             const bool saved = document.saveTo(QUrl::fromLocalFile(target)).isEmpty();
             EXPECT_EQ(document.text(), newText()); // a failed save keeps the work, unsaved
             EXPECT_EQ(document.isDirty(), !saved);
             return saved;
         }},
        {"machine store",
         [](const QString &, const QString &target) {
             MachineStore store(target);
             Machine machine = Machine::defaults().first();
             machine.id = QStringLiteral("added");
             machine.name = newText().left(200000); // a profile list larger than the cap
             store.upsert(machine);
             EXPECT_EQ(store.machines().last().id, "added"); // the list in memory stays as edited
             return Machine::decodeList(readAll(target)).value_or(QList<Machine>()) == store.machines();
         }},
        {"backup",
         [](const QString &folder, const QString &) {
             EditorDocument document(QUrl::fromLocalFile(folder + "/pocket.nc"), QString());
             document.setText(newText());
             return !BackupStore(folder, fixedClock).writeBackup(document).isEmpty();
         }},
};

} // namespace

TEST(SaveFault, FullDiskAndReadOnlyFolderLeaveTheOldFileAndNoLitter)
{
    for (const bool fullDisk : {true, false}) {
        for (const auto &[name, write] : kWriters) {
            SCOPED_TRACE(std::string(fullDisk ? "full disk, " : "read-only folder, ") + name);
            QTemporaryDir dir;
            const QString target = dir.filePath("target");
            ASSERT_TRUE(TextFile::writeBytesAtomically(target, kOld).isEmpty());
            const QStringList before = entries(dir.path());
            if (!(fullDisk ? capFileSize(65536) : setImmutable(dir.path(), true))) {
                GTEST_SKIP() << "this file system has no immutable attribute";
            }
            EXPECT_FALSE(write(dir.path(), target));
            ASSERT_TRUE(fullDisk ? capFileSize(RLIM_INFINITY) : setImmutable(dir.path(), false));
            EXPECT_EQ(readAll(target), kOld);
            EXPECT_EQ(entries(dir.path()), before);
        }
    }
}

// A process killed at random moments while it saves over and over: the program
// and its backup are always one whole version, never a mix or a truncated file.
TEST(SaveFault, KillDuringSaveLeavesOneWholeVersion)
{
    QTemporaryDir dir;
    const QString versions[] = {ProgramGenerator::milling(4 << 20, 1), ProgramGenerator::milling(4 << 20, 2)};
    const auto saveRound = [&](int i) {
        TextFile::writeAtomically(dir.filePath("part.nc"), versions[i % 2]);
        EditorDocument document(QUrl::fromLocalFile(dir.filePath("part.nc")), QString());
        document.setText(versions[(i + 1) % 2]);
        BackupStore(dir.filePath("Backups"), fixedClock)
            .writeBackup(document); // one file: the clock stands still
    };
    // The first round times one round. Each child reports every finished round
    // through a pipe; the kill lands right after its first or second round (so
    // both versions are on disk at some kill, however loaded the machine) or at
    // a random moment within about one round after it.
    QElapsedTimer oneRound;
    oneRound.start();
    saveRound(0);
    const int spreadMicroseconds = int(qMax<qint64>(oneRound.elapsed(), 5) * 1000);
    std::mt19937 random(20250303);
    int seen[2] = {0, 0};
    for (int round = 0; round < 24; ++round) {
        int done[2];
        ASSERT_EQ(::pipe(done), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(done[0]);
            for (int i = 0;; ++i) {
                saveRound(i);
                [[maybe_unused]] const ssize_t written = ::write(done[1], "x", 1);
            }
        }
        ::close(done[1]);
        char finished = 0;
        for (int rounds = 1 + round % 2; rounds > 0; --rounds) {
            ASSERT_EQ(::read(done[0], &finished, 1), 1);
        }
        if (round % 4 >= 2) {
            std::this_thread::sleep_for(
                std::chrono::microseconds(std::uniform_int_distribution<int>(0, spreadMicroseconds)(random)));
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(done[0]);
        ASSERT_TRUE(WIFSIGNALED(status));
        SCOPED_TRACE(round);
        const QByteArray program = readAll(dir.filePath("part.nc"));
        const QByteArray backup = readAll(dir.filePath("Backups/part_20250303-140509.nc.bak"));
        for (const QByteArray &file : {program, backup}) {
            ASSERT_TRUE(file == versions[0].toUtf8() || file == versions[1].toUtf8())
                << file.size() << " bytes";
        }
        ++seen[program == versions[1].toUtf8()];
    }
    // Both seen: the kills fell at different points of the loop, not all before
    // the first write or all after a finished one.
    EXPECT_GT(seen[0], 0);
    EXPECT_GT(seen[1], 0);
}
