#include "machines/machinestore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
        machine.id = "haas", machine.name = "Haas", machine.baudRate = 115200;
        return machine;
    }
    const Machine fanuc = Machine::defaults()[0], fadal = Machine::defaults()[1];
    QTemporaryDir m_dir;
};

TEST_F(MachineStoreTest, LoadsTheFileOrTheDefaultsAndLeavesAnUnusableFileUntilTheNextSave)
{
    MachineStore fresh(path());
    EXPECT_EQ(fresh.machines(), Machine::defaults());
    EXPECT_TRUE(QFileInfo(path()).dir().exists());
    EXPECT_FALSE(QFile::exists(path())) << "nothing is written before a change";

    writeFile(Machine::encodeList({haas(), fadal}));
    EXPECT_EQ(MachineStore(path()).machines(), QList<Machine>({haas(), fadal}));

    const QByteArray unusable[] = {"[]", "", "not json at all", "{\"id\":\"haas\"}",
                                   Machine::encodeList({haas(), fadal}).replace(R"("rts":false,)", ""),
                                   Machine::encodeList({haas()}).replace("\"N\"", "\"n\"")};
    for (const QByteArray &content : unusable) {
        SCOPED_TRACE(content.constData());
        writeFile(content);
        EXPECT_EQ(MachineStore(path()).machines(), Machine::defaults());
        EXPECT_EQ(readFile(), content);
    }
    // The broken file is overwritten by the first change; that is intended.
    MachineStore store(path());
    store.upsert(haas());
    EXPECT_EQ(readFile(), Machine::encodeList({fanuc, fadal, haas()}));
}

TEST_F(MachineStoreTest, UpsertAndRemoveSaveAndSignalAndAnEmptyListStartsWithTheDefaults)
{
    {
        MachineStore store(path());
        QSignalSpy changed(&store, &MachineStore::machinesChanged);
        store.upsert(haas());
        Machine renamed = fanuc;
        renamed.name = "Fanuc 0i", renamed.baudRate = 9600;
        store.upsert(renamed); // replaced in place
        EXPECT_EQ(store.machines(), QList<Machine>({renamed, fadal, haas()}));
        EXPECT_EQ(readFile(), Machine::encodeList(store.machines()));
        EXPECT_EQ(MachineStore(path()).machines(), store.machines());

        Machine stale = fadal;
        stale.name = "Renamed elsewhere";
        store.remove(stale); // matched by id only
        store.remove(renamed);
        store.remove(haas());
        EXPECT_TRUE(store.machines().isEmpty());
        store.remove(haas()); // not there: no change
        EXPECT_EQ(changed.count(), 5);
    }
    EXPECT_EQ(readFile(), "[]");
    EXPECT_EQ(MachineStore(path()).machines(), Machine::defaults());
}

TEST(MachineStoreLocation, DefaultFileLivesInTheUsersDataFolder)
{
    const QString expected = qEnvironmentVariable("XDG_DATA_HOME") + "/VarnEdit/machines.json";
    EXPECT_EQ(MachineStore::defaultFilePath(), expected);
    EXPECT_EQ(MachineStore().filePath(), expected);
}

} // namespace
