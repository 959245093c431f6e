// Saving when the disk says no: a folder that cannot be written, a disk that
// fills up mid-file, a process killed in the middle of a save. Whatever
// happens, the file on disk is the old content or the new, whole, and the
// document, backups and machine profiles keep what the user has.
#include "machines/machinestore.h"
#include "programgenerator.h"
#include "workspace/backupstore.h"
#include "workspace/editordocument.h"
#include "workspace/textfile.h"

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
    bool done = fd >= 0 && ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
    done = done && ::ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    if (fd >= 0) {
        ::close(fd);
    }
    return done;
}

// A full disk: with the size cap write() stores what fits and fails with EFBIG
// (SIGXFSZ stays ignored for the rest of the run). No cap lifts it again.
bool capFileSize(std::optional<rlim_t> bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes.value_or(limit.rlim_max);
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
struct Writer {
    const char *name;
    std::function<bool(const QString &folder, const QString &target)> write;
};

const Writer kWriters[] = {
    {"text", [](const QString &, const QString &target) { return TextFile::writeAtomically(target, newText()).isEmpty(); }},
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

TEST(SaveFault, ReadOnlyFolderAndFullDiskLeaveTheOldFileAndNoLitter)
{
    struct Fault {
        const char *name;
        std::function<bool(const QString &folder, bool on)> set;
    };
    const Fault faults[] = {
        {"read-only folder", setImmutable},
        {"full disk", [](const QString &, bool on) { return capFileSize(on ? std::optional<rlim_t>(65536) : std::nullopt); }},
    };
    bool skipped = false;
    for (const Fault &fault : faults) {
        for (const Writer &writer : kWriters) {
            SCOPED_TRACE(std::string(fault.name) + ", " + writer.name);
            QTemporaryDir dir;
            const QString target = dir.filePath("target");
            ASSERT_TRUE(TextFile::writeBytesAtomically(target, kOld).isEmpty());
            const QStringList before = entries(dir.path());
            if (!fault.set(dir.path(), true)) {
                skipped = true; // no immutable attribute on this file system
                continue;
            }
            EXPECT_FALSE(writer.write(dir.path(), target));
            ASSERT_TRUE(fault.set(dir.path(), false));
            EXPECT_EQ(readAll(target), kOld);
            EXPECT_EQ(entries(dir.path()), before);
        }
    }
    if (skipped) {
        GTEST_SKIP() << "some faults could not be set up here";
    }
}

// A process killed at random moments while it saves over and over: each file
// is always one whole version, never a mix or a truncated file.
TEST(SaveFault, KillDuringSaveLeavesOneWholeVersion)
{
    QTemporaryDir dir;
    const QString versionA = ProgramGenerator::milling(4 << 20, 1);
    const QString versionB = ProgramGenerator::milling(4 << 20, 2);
    const QList<Machine> profilesA = Machine::defaults();
    QList<Machine> profilesB = profilesA;
    profilesB.first().name = versionB.left(500000);
    const auto saveRound = [&](int i) {
        TextFile::writeAtomically(dir.filePath("part.nc"), i % 2 ? versionA : versionB);
        TextFile::writeBytesAtomically(dir.filePath("machines.json"), Machine::encodeList(i % 2 ? profilesA : profilesB));
        EditorDocument document(QUrl::fromLocalFile(dir.filePath("part.nc")), QString());
        document.setText(i % 2 ? versionB : versionA);
        BackupStore(dir.filePath("Backups"), fixedClock).writeBackup(document); // the clock stands still: one file
    };
    // The first round writes version A and times one round, so the kills spread
    // over about three rounds whatever this machine's speed.
    QElapsedTimer oneRound;
    oneRound.start();
    saveRound(1);
    const int spreadMicroseconds = int(qMax<qint64>(oneRound.elapsed(), 5) * 3000);

    std::mt19937 random(20250303);
    int seenA = 0;
    int seenB = 0;
    for (int round = 0; round < 24; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0;; ++i) {
                saveRound(i);
            }
        }
        std::this_thread::sleep_for(
            std::chrono::microseconds(std::uniform_int_distribution<int>(0, spreadMicroseconds)(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));

        SCOPED_TRACE(round);
        const QByteArray program = readAll(dir.filePath("part.nc"));
        ASSERT_TRUE(program == versionA.toUtf8() || program == versionB.toUtf8()) << program.size() << " bytes";
        const auto profiles = Machine::decodeList(readAll(dir.filePath("machines.json")));
        ASSERT_TRUE(profiles == profilesA || profiles == profilesB);
        const QByteArray backup = readAll(dir.filePath("Backups/part_20250303-140509.nc.bak"));
        ASSERT_TRUE(backup == versionA.toUtf8() || backup == versionB.toUtf8());
        seenA += program == versionA.toUtf8() ? 1 : 0;
        seenB += program == versionB.toUtf8() ? 1 : 0;
    }
    // Both seen: the kills fell at different points of the loop, not all before
    // the first write or all after a finished one.
    EXPECT_GT(seenA, 0);
    EXPECT_GT(seenB, 0);
}
