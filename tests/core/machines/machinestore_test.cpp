#include "machines/machinestore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace {

class MachineStoreTest : public ::testing::Test {
protected:
    QString path() const { return m_dir.filePath("VarnEdit/machines.json"); }

    void writeFile(const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(path()).absolutePath());
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray readFile() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    static Machine haas()
    {
        Machine machine;
        machine.id = "haas";
        machine.name = "Haas";
        machine.baudRate = 115200;
        machine.flowControl = Machine::FlowControl::rtsCts;
        return machine;
    }

    QTemporaryDir m_dir;
};

TEST_F(MachineStoreTest, NoFileGivesTheDefaultsAndWritesNothing)
{
    MachineStore store(path());
    EXPECT_EQ(store.machines(), Machine::defaults());
    EXPECT_EQ(store.machines().first().name, "Fanuc");
    EXPECT_TRUE(QFileInfo(path()).dir().exists());
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(MachineStoreTest, UnusableFilesLoadTheDefaultsAndStayUntilTheNextSave)
{
    QByteArray missingRts = Machine::encodeList({haas(), Machine::defaults()[1]});
    missingRts.replace(R"("rts":false,)", "");
    const QByteArray unusable[] = {
        "[]", "", "not json at all", "{\"id\":\"haas\"}", missingRts,
        Machine::encodeList({haas()}).replace("\"E\"", "\"e\"").replace("\"N\"", "\"n\""),
    };
    for (const QByteArray &content : unusable) {
        SCOPED_TRACE(content.constData());
        writeFile(content);
        MachineStore store(path());
        EXPECT_EQ(store.machines(), Machine::defaults());
        EXPECT_EQ(readFile(), content);
    }
    // The broken file is overwritten by the first change; that is intended.
    MachineStore store(path());
    store.upsert(haas());
    EXPECT_EQ(readFile(), Machine::encodeList({Machine::defaults()[0], Machine::defaults()[1], haas()}));
}

TEST_F(MachineStoreTest, SavedProfilesLoadBackInFileOrder)
{
    const QList<Machine> mine = {haas(), Machine::defaults()[1]};
    writeFile(Machine::encodeList(mine));
    MachineStore store(path());
    EXPECT_EQ(store.machines(), mine);
}

TEST_F(MachineStoreTest, UpsertReplacesInPlaceOrAppendsAndSaves)
{
    MachineStore store(path());
    QSignalSpy changed(&store, &MachineStore::machinesChanged);

    store.upsert(haas());
    Machine fanuc = Machine::defaults()[0];
    fanuc.baudRate = 9600;
    fanuc.name = "Fanuc 0i";
    store.upsert(fanuc);

    const QList<Machine> expected = {fanuc, Machine::defaults()[1], haas()};
    EXPECT_EQ(store.machines(), expected);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(readFile(), Machine::encodeList(expected));
    EXPECT_EQ(MachineStore(path()).machines(), expected);
}

TEST_F(MachineStoreTest, DeletingEveryProfileSavesAnEmptyListAndTheNextStartShowsTheDefaults)
{
    {
        MachineStore store(path());
        store.upsert(haas());
        QSignalSpy changed(&store, &MachineStore::machinesChanged);
        const QList<Machine> all = store.machines();
        for (const Machine &machine : all) {
            store.remove(machine);
        }
        EXPECT_TRUE(store.machines().isEmpty());
        EXPECT_EQ(changed.count(), 3);
        // Removing what is not there changes nothing but still saves.
        store.remove(haas());
        EXPECT_EQ(changed.count(), 3);
    }
    EXPECT_EQ(readFile(), "[]");
    EXPECT_EQ(MachineStore(path()).machines(), Machine::defaults());
}

TEST_F(MachineStoreTest, RemoveMatchesByIdOnly)
{
    MachineStore store(path());
    Machine stale = Machine::defaults()[1];
    stale.name = "Renamed elsewhere";
    store.remove(stale);
    EXPECT_EQ(store.machines(), QList<Machine>({Machine::defaults()[0]}));
}

TEST_F(MachineStoreTest, FailedWriteLeavesTheOldFileWholeAndIsSilent)
{
    const QByteArray old = Machine::encodeList({haas()});
    writeFile(old);
    MachineStore store(path());

    // Cap the size of any file this process writes, so the temporary copy
    // cannot be completed however privileged the test user is.
    rlimit saved{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto previousHandler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit small = saved;
    small.rlim_cur = 16;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);

    store.upsert(Machine::defaults()[0]);

    setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, previousHandler);

    EXPECT_EQ(readFile(), old);
    EXPECT_EQ(store.machines(), QList<Machine>({haas(), Machine::defaults()[0]}));
    QDir folder = QFileInfo(path()).dir();
    EXPECT_EQ(folder.entryList(QDir::Files), QStringList({"machines.json"}));

    store.save();
    EXPECT_EQ(readFile(), Machine::encodeList(store.machines()));
}

TEST(MachineStoreLocation, DefaultFileLivesInTheUsersDataFolder)
{
    const QString expected = qEnvironmentVariable("XDG_DATA_HOME") + "/VarnEdit/machines.json";
    EXPECT_EQ(MachineStore::defaultFilePath(), expected);
    MachineStore store;
    EXPECT_EQ(store.filePath(), expected);
    EXPECT_TRUE(QDir(qEnvironmentVariable("XDG_DATA_HOME") + "/VarnEdit").exists());
}

} // namespace
