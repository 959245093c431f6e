#include "workspace/backupstore.h"
#include "workspace/editordocument.h"
#include "base/textfile.h"

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
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

void writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// Read, then write back: the bytes on disk must not move by one.
void expectRoundTrip(const QByteArray &bytes)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("program.nc");
    writeBytes(path, bytes);
    const TextFile::ReadResult read = TextFile::read(path);
    ASSERT_TRUE(read.ok()) << int(read.error);
    const QString copy = dir.filePath("copy.nc");
    ASSERT_EQ(TextFile::writeAtomically(copy, read.text), QString());
    EXPECT_EQ(readBytes(copy), bytes);
}

} // namespace

TEST(TextFile, LineEndsBlanksLongLinesAndMissingFinalNewlineRoundTripByteForByte)
{
    QByteArray longLine = "N10 G1";
    while (longLine.size() < (1 << 20)) {
        longLine += " X1.2345 Y-6.789";
    }
    for (const QByteArray &bytes : {
             QByteArray("%\r\nO1000 (CRLF)\r\nN10 G0 X0\r\nM30\r\n%\r\n"),
             QByteArray("G0 X1\nG1 Y2\r\nG2 Z3\rM30"), // mixed, lone CR, no final newline
             QByteArray("N10 G0 X0   \t\n\n\nN20 M30"), QByteArray("(ÁNGULO 45° — AÇO INOX) € 😀\r\n"), QByteArray(),
             QByteArray("A\0B\n", 4), // a NUL is valid UTF-8 and must survive
             longLine + "\r\nM30\r\n",
             // A surrogate pair straddling the writer's chunk boundary (1 Mi UTF-16 units) stays one character.
             QByteArray((1 << 20) - 1, 'X') + "😀 tail"}) {
        expectRoundTrip(bytes);
    }
}

// Every row of invalid.tsv: bytes and the offset of their first bad sequence.
TEST(TextFile, InvalidUtf8IsRefusedWithTheOffsetOfTheFirstBadSequence)
{
    QFile table(QStringLiteral(VARN_SOURCE_DIR "/tests/data/utf8/invalid.tsv"));
    ASSERT_TRUE(table.open(QIODevice::ReadOnly));
    for (const QByteArray &line : table.readAll().split('\n')) {
        const QList<QByteArray> row = line.split('\t');
        if (line.startsWith('#') || row.size() < 2) {
            continue;
        }
        SCOPED_TRACE(line.toStdString());
        const QByteArray bytes = QByteArray::fromHex(row[0]);
        const qint64 offset = row[1].toLongLong();
        const TextFile::ReadResult result = TextFile::decode(bytes);
        EXPECT_EQ(TextFile::firstInvalidUtf8Offset(bytes), offset);
        EXPECT_EQ(result.ok() ? -1 : result.invalidByteOffset, offset);
        EXPECT_EQ(result.text.isEmpty(), offset >= 0); // never a half-decoded program
    }
}

TEST(TextFile, ByteOrderMarkIsDroppedOnlyAtTheStartAndMissingFilesCannotBeOpened)
{
    const TextFile::ReadResult withMark = TextFile::decode("\xEF\xBB\xBF%\nO1\n");
    EXPECT_TRUE(withMark.hadByteOrderMark);
    EXPECT_EQ(withMark.text, "%\nO1\n");
    EXPECT_FALSE(TextFile::decode("%\nO1\n").hadByteOrderMark);
    EXPECT_EQ(TextFile::decode("A\xEF\xBB\xBF").text, QString("A") + QChar(0xFEFF));
    QTemporaryDir dir;
    for (const QString &path : {dir.filePath("nope.nc"), dir.path()}) {
        const TextFile::ReadResult result = TextFile::read(path);
        EXPECT_EQ(result.error, TextFile::ReadError::cannotOpen);
        EXPECT_FALSE(result.errorString.isEmpty());
    }
}

TEST(BackupStore, FileNamesFollowBaseStampExtension)
{
    const std::pair<QString, QString> cases[] = {
        {"/programs/pocket.nc", "pocket_20250303-140509.nc.bak"},
        {"", "Untitled_20250303-140509.nc.bak"},
        {"/programs/O1000", "O1000_20250303-140509.nc.bak"},
        {"/programs/face.mill.ngc", "face.mill_20250303-140509.ngc.bak"},
        {"/programs/UPPER.NC", "UPPER_20250303-140509.NC.bak"},
        {"/programs/my part.tap", "my part_20250303-140509.tap.bak"},
        {"/programs/.hidden", ".hidden_20250303-140509.nc.bak"},
        {"/programs/trailing.", "trailing._20250303-140509.nc.bak"},
    };
    for (const auto &[path, expected] : cases) {
        EXPECT_EQ(BackupStore::fileName(path.isEmpty() ? QUrl() : QUrl::fromLocalFile(path), kMarch3), expected);
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

TEST(BackupStore, AutosaveKeepsDirtyNonEmptyTextsAndLeavesTheDocumentsAlone)
{
    QTemporaryDir dir;
    QDateTime now = kMarch3; // a clock the test moves by hand
    BackupStore store(dir.filePath("deep/er/Backups"), [&now] { return now; });
    EditorDocument untitledEmpty, untitledWithText;
    untitledWithText.setText("G0 X0");
    EditorDocument clean(QUrl::fromLocalFile(dir.filePath("clean.nc")), "M30");
    EditorDocument edited(QUrl::fromLocalFile(dir.filePath("O1000")), "G0 X0\r\n");
    edited.replace(4, 1, "7");
    EditorDocument editedBack(QUrl::fromLocalFile("/p/back.nc"), "G0 X0");
    editedBack.replace(4, 1, "7");
    editedBack.replace(4, 1, "0");
    EditorDocument emptied(QUrl::fromLocalFile("/p/emptied.nc"), "G0 X0");
    emptied.setText(""); // dirty, but there is nothing worth keeping
    const qint64 revision = edited.revision();

    const QString folder = dir.filePath("deep/er/Backups");
    EXPECT_EQ(store.autosave({&untitledEmpty, &untitledWithText, &clean, &edited, &editedBack, &emptied}),
              QStringList({folder + "/Untitled_20250303-140509.nc.bak", folder + "/O1000_20250303-140509.nc.bak"}));
    EXPECT_EQ(readBytes(folder + "/O1000_20250303-140509.nc.bak"), "G0 X7\r\n");
    EXPECT_EQ(edited.savedText(), "G0 X0\r\n");
    EXPECT_TRUE(edited.isDirty());
    EXPECT_EQ(edited.revision(), revision);
    EXPECT_EQ(edited.url(), QUrl::fromLocalFile(dir.filePath("O1000")));
    EXPECT_FALSE(QFile::exists(dir.filePath("O1000"))); // never the document's own file

    // The same second replaces; a later one adds.
    untitledWithText.setText("second, same second");
    store.autosave({&untitledWithText});
    now = now.addSecs(120);
    store.autosave({&untitledWithText});
    EXPECT_EQ(QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name),
              QStringList({"O1000_20250303-140509.nc.bak", "Untitled_20250303-140509.nc.bak",
                           "Untitled_20250303-140709.nc.bak"}));
    EXPECT_EQ(readBytes(folder + "/Untitled_20250303-140509.nc.bak"), "second, same second");
}

TEST(BackupStore, UncreatableFolderMakesBackupsFailQuietly)
{
    QTemporaryDir dir;
    QFile blocker(dir.filePath("file"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    BackupStore store(dir.filePath("file/Backups")); // a folder under a regular file
    EditorDocument document;
    document.setText("G0 X0");
    EXPECT_EQ(store.writeBackup(document), QString());
    EXPECT_TRUE(store.autosave({&document}).isEmpty());
    EXPECT_TRUE(document.isDirty());
}
