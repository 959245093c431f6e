#include "workspace/backupstore.h"
#include "workspace/editordocument.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

const QDateTime kMarch3 = QDateTime(QDate(2025, 3, 3), QTime(14, 5, 9));

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QStringList backupsIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}


} // namespace

TEST(BackupStore, FileNamesFollowBaseStampExtension)
{
    const struct {
        QString url;
        QString expected;
    } cases[] = {
        {"/programs/pocket.nc", "pocket_20250303-140509.nc.bak"},
        {"", "Untitled_20250303-140509.nc.bak"},
        {"/programs/O1000", "O1000_20250303-140509.nc.bak"},
        {"/programs/face.mill.ngc", "face.mill_20250303-140509.ngc.bak"},
        {"/programs/UPPER.NC", "UPPER_20250303-140509.NC.bak"},
        {"/programs/my part.tap", "my part_20250303-140509.tap.bak"},
        {"/programs/.hidden", ".hidden_20250303-140509.nc.bak"},
        {"/programs/trailing.", "trailing._20250303-140509.nc.bak"},
    };
    for (const auto &c : cases) {
        const QUrl url = c.url.isEmpty() ? QUrl() : QUrl::fromLocalFile(c.url);
        EXPECT_EQ(BackupStore::fileName(url, kMarch3), c.expected) << c.url.toStdString();
    }
    // Every field is zero-padded, so names sort by time.
    EXPECT_EQ(BackupStore::fileName(QUrl(), QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5))),
              "Untitled_20260102-030405.nc.bak");
}

TEST(BackupStore, DefaultFolderIsCreatedUnderTheUserDataLocationOnFirstUse)
{
    const QString expected =
        QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + "/VarnEdit/Backups";
    // The test harness points the data location at a temporary HOME.
    ASSERT_TRUE(expected.startsWith(QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME"))));
    QDir(expected).removeRecursively();

    BackupStore store;
    EXPECT_FALSE(QDir(expected).exists()); // nothing happens before first use
    EXPECT_EQ(store.folder(), expected);
    EXPECT_TRUE(QDir(expected).exists());
}

TEST(BackupStore, BackupHoldsTheCurrentTextAndLeavesTheDocumentAlone)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath("deep/er/Backups");
    BackupStore store(folder, [] { return kMarch3; });

    EditorDocument document(QUrl::fromLocalFile(dir.filePath("pocket.nc")));
    document.finishLoading("G0 X0\r\nM30\r\n");
    document.setText("G0 X1\r\nM30\r\n");
    const qint64 revision = document.revision();

    const QString path = store.writeBackup(document);
    EXPECT_EQ(path, folder + "/pocket_20250303-140509.nc.bak");
    EXPECT_EQ(readBytes(path), "G0 X1\r\nM30\r\n");
    EXPECT_EQ(document.url(), QUrl::fromLocalFile(dir.filePath("pocket.nc")));
    EXPECT_EQ(document.savedText(), "G0 X0\r\nM30\r\n");
    EXPECT_TRUE(document.isDirty());
    EXPECT_EQ(document.revision(), revision);
    EXPECT_FALSE(QFile::exists(dir.filePath("pocket.nc"))); // never the document's own file
}

TEST(BackupStore, AutosaveBacksUpDirtyNonEmptyDocumentsOnly)
{
    QTemporaryDir dir;
    BackupStore store(dir.filePath("Backups"), [] { return kMarch3; });

    EditorDocument untitledEmpty;
    EditorDocument untitledWithText;
    untitledWithText.setText("G0 X0");
    EditorDocument clean(QUrl::fromLocalFile("/p/clean.nc"));
    clean.finishLoading("M30");
    EditorDocument edited(QUrl::fromLocalFile("/p/O1000"));
    edited.finishLoading("G0 X0");
    edited.replace(4, 1, "7");
    EditorDocument editedBack(QUrl::fromLocalFile("/p/back.nc"));
    editedBack.finishLoading("G0 X0");
    editedBack.replace(4, 1, "7");
    editedBack.replace(4, 1, "0");
    EditorDocument emptied(QUrl::fromLocalFile("/p/emptied.nc"));
    emptied.finishLoading("G0 X0");
    emptied.setText(""); // dirty, but there is nothing worth keeping

    const QList<EditorDocument *> documents{&untitledEmpty, &untitledWithText, &clean,
                                            &edited,        &editedBack,       &emptied};
    const QStringList written = store.autosave(documents);
    EXPECT_EQ(written, (QStringList{store.folder() + "/Untitled_20250303-140509.nc.bak",
                                    store.folder() + "/O1000_20250303-140509.nc.bak"}));
    EXPECT_EQ(readBytes(written.value(1)), "G0 X7");
    EXPECT_EQ(edited.savedText(), "G0 X0");
    EXPECT_TRUE(edited.isDirty());
}

TEST(BackupStore, BackupsAccumulateAndTheSameSecondReplaces)
{
    QTemporaryDir dir;
    QDateTime now = kMarch3; // a clock the test moves by hand
    BackupStore store(dir.filePath("Backups"), [&now] { return now; });
    EditorDocument document;
    document.setText("first");

    store.autosave({&document});
    document.setText("second, same second");
    store.autosave({&document});
    EXPECT_EQ(backupsIn(store.folder()), QStringList{"Untitled_20250303-140509.nc.bak"});
    EXPECT_EQ(readBytes(store.folder() + "/Untitled_20250303-140509.nc.bak"), "second, same second");

    now = now.addSecs(120);
    store.autosave({&document});
    EXPECT_EQ(backupsIn(store.folder()),
              (QStringList{"Untitled_20250303-140509.nc.bak", "Untitled_20250303-140709.nc.bak"}));
}

TEST(BackupStore, UncreatableFolderMakesBackupsFailQuietly)
{
    QTemporaryDir dir;
    QFile blocker(dir.filePath("file"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    BackupStore store(dir.filePath("file/Backups")); // a folder under a regular file

    EditorDocument document;
    document.setText("G0 X0");
    EXPECT_EQ(store.writeBackup(document), QString());
    EXPECT_TRUE(store.autosave({&document}).isEmpty());
    EXPECT_TRUE(document.isDirty());
}
