// Saving when the disk says no: a folder that cannot be written, a disk that
// fills up mid-file, a process killed in the middle of a save. Whatever
// happens, the file on disk is either the old content or the new, whole, and
// the document, backups and machine profiles keep what the user has.
#include "machines/machinestore.h"
#include "programgenerator.h"
#include "workspace/backupstore.h"
#include "workspace/editordocument.h"
#include "workspace/textfile.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>
#include <gtest/gtest.h>

#include <chrono>
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

void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

// Root writes anywhere whatever the permission bits say, so "read-only" has to
// be the immutable attribute. Cleared again on destruction so the folder can go.
class ImmutableFolder {
public:
    explicit ImmutableFolder(const QString &path)
        : m_fd(::open(QFile::encodeName(path).constData(), O_RDONLY))
    {
        int flags = 0;
        if (m_fd >= 0 && ::ioctl(m_fd, FS_IOC_GETFLAGS, &flags) == 0) {
            flags |= FS_IMMUTABLE_FL;
            m_set = ::ioctl(m_fd, FS_IOC_SETFLAGS, &flags) == 0;
        }
    }
    ~ImmutableFolder()
    {
        int flags = 0;
        if (m_set && ::ioctl(m_fd, FS_IOC_GETFLAGS, &flags) == 0) {
            flags &= ~FS_IMMUTABLE_FL;
            ::ioctl(m_fd, FS_IOC_SETFLAGS, &flags);
        }
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    bool isSet() const { return m_set; }

private:
    int m_fd = -1;
    bool m_set = false;
};

// Caps the size of any file this process writes, as a full disk does: write()
// then stores what fits and fails with EFBIG instead of raising SIGXFSZ.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_previous);
        rlimit limited = m_previous;
        limited.rlim_cur = bytes;
        m_set = ::setrlimit(RLIMIT_FSIZE, &limited) == 0;
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_previous);
        std::signal(SIGXFSZ, m_previousHandler);
    }
    bool isSet() const { return m_set; }

private:
    rlimit m_previous{};
    void (*m_previousHandler)(int) = SIG_DFL;
    bool m_set = false;
};

const QByteArray kOld = "%\nO1000 (OLD)\nN10 G0 X0\nM30\n%\n";
// Larger than the size limit below, so a full disk always cuts it short.
const QString &newText()
{
    static const QString text = ProgramGenerator::milling(1 << 20);
    return text;
}

// Every way the program saves a file, each against the same failure.
struct Writer {
    const char *name;
    // Writes into `folder` over `target`; true when the writer said it succeeded.
    std::function<bool(const QString &folder, const QString &target)> write;
};

std::vector<Writer> writers()
{
    return {
        {"TextFile::writeAtomically",
         [](const QString &, const QString &target) {
             return TextFile::writeAtomically(target, newText()).isEmpty();
         }},
        {"TextFile::writeBytesAtomically",
         [](const QString &, const QString &target) {
             return TextFile::writeBytesAtomically(target, newText().toUtf8()).isEmpty();
         }},
        {"EditorDocument::saveTo",
         [](const QString &, const QString &target) {
             EditorDocument document(QUrl::fromLocalFile(target), QString::fromUtf8(kOld));
             document.setText(newText());
             const bool saved = document.saveTo(QUrl::fromLocalFile(target)).isEmpty();
             // A failed save keeps the work unsaved (still dirty), never lost.
             EXPECT_EQ(document.text(), newText());
             EXPECT_EQ(document.isDirty(), !saved);
             return saved;
         }},
        {"MachineStore::save",
         [](const QString &, const QString &target) {
             MachineStore store(target);
             Machine machine = Machine::defaults().first();
             machine.id = QStringLiteral("added");
             machine.name = newText().left(200000); // a profile list larger than the limit
             store.upsert(machine);
             EXPECT_EQ(store.machines().last().id, "added"); // the list in memory stays as edited
             return Machine::decodeList(readAll(target)).value_or(QList<Machine>()) == store.machines();
         }},
        {"BackupStore::writeBackup",
         [](const QString &folder, const QString &) {
             BackupStore backups(folder, [] { return QDateTime(QDate(2025, 3, 3), QTime(14, 5, 9)); });
             EditorDocument document(QUrl::fromLocalFile(folder + "/pocket.nc"), QString());
             document.setText(newText());
             return !backups.writeBackup(document).isEmpty();
         }},
    };
}

class SaveFault : public ::testing::TestWithParam<Writer> {};

} // namespace

TEST_P(SaveFault, ReadOnlyFolderLeavesTheOldFileAndNoLitter)
{
    QTemporaryDir dir;
    const QString target = dir.filePath("target");
    writeFile(target, kOld);
    const QStringList before = entries(dir.path());
    {
        ImmutableFolder readOnly(dir.path());
        if (!readOnly.isSet()) {
            GTEST_SKIP() << "this file system has no immutable attribute";
        }
        EXPECT_FALSE(GetParam().write(dir.path(), target));
    }
    EXPECT_EQ(readAll(target), kOld);
    EXPECT_EQ(entries(dir.path()), before);
}

TEST_P(SaveFault, FullDiskLeavesTheOldFileAndNoLitter)
{
    QTemporaryDir dir;
    const QString target = dir.filePath("target");
    writeFile(target, kOld);
    const QStringList before = entries(dir.path());
    {
        FileSizeLimit full(64 * 1024);
        ASSERT_TRUE(full.isSet());
        EXPECT_FALSE(GetParam().write(dir.path(), target));
    }
    EXPECT_EQ(readAll(target), kOld);
    EXPECT_EQ(entries(dir.path()), before);
}

INSTANTIATE_TEST_SUITE_P(Writers, SaveFault, ::testing::ValuesIn(writers()), [](const auto &param) {
    return QString(param.param.name).replace("::", "_").toStdString();
});

// A process killed at random moments while it saves over and over: the target
// is always one whole version, never a mix or a truncated file.
TEST(SaveFault, KillDuringSaveLeavesOneWholeVersion)
{
    QTemporaryDir dir;
    const QString target = dir.filePath("part.nc");
    const QString machines = dir.filePath("machines.json");
    const QString versionA = ProgramGenerator::milling(4 << 20, 1);
    const QString versionB = ProgramGenerator::milling(4 << 20, 2);
    const QByteArray bytesA = versionA.toUtf8();
    const QByteArray bytesB = versionB.toUtf8();
    writeFile(target, bytesA);
    QList<Machine> profilesA = Machine::defaults();
    QList<Machine> profilesB = profilesA;
    profilesB.first().name = versionB.left(500000);
    writeFile(machines, Machine::encodeList(profilesA));

    // Kills spread over about three rounds of the child's loop, whatever this
    // machine's speed (a sanitizer build is several times slower).
    ASSERT_TRUE(QDir().mkpath(dir.filePath("Scratch")));
    QElapsedTimer oneRound;
    oneRound.start();
    {
        BackupStore backups(dir.filePath("Scratch"));
        EditorDocument document(QUrl::fromLocalFile(target), versionB);
        TextFile::writeAtomically(dir.filePath("Scratch/part.nc"), versionB);
        TextFile::writeBytesAtomically(dir.filePath("Scratch/machines.json"), Machine::encodeList(profilesB));
        backups.writeBackup(document);
    }
    const int spreadMicroseconds = int(qMax<qint64>(oneRound.elapsed(), 5) * 3000);
    QDir(dir.filePath("Scratch")).removeRecursively();

    std::mt19937 random(20250303);
    int seenA = 0;
    int seenB = 0;
    for (int round = 0; round < 24; ++round) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Saves over and over until the parent kills it; nothing after the loop runs.
            // The backup clock stands still, so every backup replaces the last.
            BackupStore backups(dir.filePath("Backups"),
                                [] { return QDateTime(QDate(2025, 3, 3), QTime(14, 5, 9)); });
            EditorDocument document(QUrl::fromLocalFile(target), versionA);
            for (int i = 0;; ++i) {
                TextFile::writeAtomically(target, i % 2 ? versionA : versionB);
                TextFile::writeBytesAtomically(machines, Machine::encodeList(i % 2 ? profilesA : profilesB));
                document.setText(i % 2 ? versionB : versionA);
                backups.writeBackup(document);
            }
            ::_exit(0);
        }
        std::this_thread::sleep_for(
            std::chrono::microseconds(std::uniform_int_distribution<int>(0, spreadMicroseconds)(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status));

        const QByteArray program = readAll(target);
        ASSERT_TRUE(program == bytesA || program == bytesB)
            << "round " << round << ": " << program.size() << " bytes";
        const auto profiles = Machine::decodeList(readAll(machines));
        ASSERT_TRUE(profiles == profilesA || profiles == profilesB) << "round " << round;
        const QByteArray backup = readAll(dir.filePath("Backups/part_20250303-140509.nc.bak"));
        ASSERT_TRUE(backup.isEmpty() || backup == bytesA || backup == bytesB) << "round " << round;
        seenA += program == bytesA ? 1 : 0;
        seenB += program == bytesB ? 1 : 0;
    }
    // Both versions seen: the kills fell at different points of the save loop,
    // not all before the first write or all after a finished one.
    EXPECT_GT(seenA, 0);
    EXPECT_GT(seenB, 0);
}
