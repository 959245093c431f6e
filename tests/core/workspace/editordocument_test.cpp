#include "workspace/editordocument.h"

#include "programgenerator.h"
#include "readonlyfolder.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <random>

namespace {

// Stands in for the editor widget's buffer and counts what the document asks
// of it, so the tests can tell a cheap dirty check from one that copies.
class CountingStorage final : public DocumentTextStorage {
public:
    qsizetype length() const override { return m_text.size(); }
    QString text() const override
    {
        ++materialised;
        return m_text;
    }
    void setText(const QString &text) override { m_text = text; }
    void replace(qsizetype position, qsizetype removed, const QString &inserted) override
    {
        m_text.replace(position, removed, inserted);
    }
    qsizetype firstDifference(qsizetype position, QStringView expected) const override
    {
        for (qsizetype i = 0; i < expected.size(); ++i) {
            ++compared;
            if (m_text.at(position + i) != expected.at(i)) {
                return i;
            }
        }
        return -1;
    }
    // The user types into the widget; the document hears about it afterwards.
    void type(EditorDocument &document, qsizetype position, qsizetype removed, const QString &inserted)
    {
        m_text.replace(position, removed, inserted);
        document.recordEdit(position, removed, inserted.size());
    }

    mutable int materialised = 0;
    mutable qsizetype compared = 0;

private:
    QString m_text;
};

QByteArray readBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TEST(EditorDocument, StartsUntitledEmptyCleanAtRevisionZero)
{
    EditorDocument a;
    EditorDocument b;
    EXPECT_FALSE(a.id().isNull());
    EXPECT_NE(a.id(), b.id());
    EXPECT_TRUE(a.isUntitled());
    EXPECT_TRUE(a.text().isEmpty());
    EXPECT_TRUE(a.savedText().isEmpty());
    EXPECT_EQ(a.revision(), 0);
    EXPECT_FALSE(a.isLoading());
    EXPECT_FALSE(a.isDirty());
    EXPECT_EQ(a.displayName(AppLanguage::english), "Untitled");
}

TEST(EditorDocument, FileDocumentLoadsIntoTextAndSavedTextAtOnce)
{
    EditorDocument document(QUrl::fromLocalFile("/programs/pocket.nc"));
    EXPECT_TRUE(document.isLoading());
    EXPECT_EQ(document.displayName(AppLanguage::spanish), "pocket.nc");
    QSignalSpy loading(&document, &EditorDocument::loadingChanged);
    QSignalSpy changed(&document, &EditorDocument::textChanged);

    document.finishLoading("%\nO1000\nM30\n%\n");
    EXPECT_FALSE(document.isLoading());
    EXPECT_EQ(document.text(), "%\nO1000\nM30\n%\n");
    EXPECT_EQ(document.savedText(), document.text());
    EXPECT_FALSE(document.isDirty());
    EXPECT_EQ(document.revision(), 1); // the text did change, from empty to the file
    EXPECT_EQ(loading.count(), 1);
    EXPECT_EQ(changed.count(), 1);
}

TEST(EditorDocument, DocumentFromTextAtHandStartsCleanAtRevisionZero)
{
    EditorDocument document(QUrl::fromLocalFile("/p/cached.nc"), "G0 X0\nM30\n");
    EXPECT_FALSE(document.isLoading());
    EXPECT_EQ(document.revision(), 0);
    EXPECT_EQ(document.text(), "G0 X0\nM30\n");
    EXPECT_FALSE(document.isDirty());
    document.replace(0, 0, "%\n");
    EXPECT_TRUE(document.isDirty());
    EXPECT_EQ(document.revision(), 1);
}

TEST(EditorDocument, RevisionRisesByOnePerChangeAndNotForTheSameText)
{
    EditorDocument document;
    QSignalSpy changed(&document, &EditorDocument::textChanged);
    document.setText("G0 X0");
    document.setText("G0 X0"); // same text: nothing happens
    document.replace(4, 1, "1");
    document.replace(4, 1, "1"); // replacing with the same characters is no change
    document.replace(2, 0, "");  // nor is replacing nothing with nothing
    document.replace(5, 0, "\nM30");
    EXPECT_EQ(document.text(), "G0 X1\nM30");
    EXPECT_EQ(document.revision(), 3);
    ASSERT_EQ(changed.count(), 3);
    EXPECT_EQ(changed.at(2).at(0).toLongLong(), 3);
}

TEST(EditorDocument, EditedBackToTheSavedTextIsCleanWithTwoMoreRevisions)
{
    EditorDocument document(QUrl::fromLocalFile("/p/a.nc"));
    document.finishLoading("N10 G0 X0\nN20 M30\n");
    const qint64 before = document.revision();

    document.replace(8, 1, "5");
    EXPECT_TRUE(document.isDirty());
    document.replace(8, 1, "0");
    EXPECT_FALSE(document.isDirty());
    EXPECT_EQ(document.revision(), before + 2);

    // The same through whole-text replacement, as a tool and its undo do.
    document.setText("N10 G0 X0\n");
    EXPECT_TRUE(document.isDirty());
    document.setText(QString("N10 G0 X0\nN20 M30\n")); // equal text, not the same buffer
    EXPECT_FALSE(document.isDirty());
    EXPECT_EQ(document.revision(), before + 4);
}

TEST(EditorDocument, SameLengthDifferentTextIsDirty)
{
    EditorDocument document;
    document.finishLoading("G0 X1 Y2");
    document.replace(0, 8, "G0 X2 Y1");
    EXPECT_TRUE(document.isDirty());
    document.setSavedText("G0 X2 Y1");
    EXPECT_FALSE(document.isDirty());
    document.setSavedText("G0 X2 Y9");
    EXPECT_TRUE(document.isDirty());
}

// Random edits and their undo, checked step by step against the rule itself.
TEST(EditorDocument, DirtyIsExactlyTextDiffersFromSavedTextUnderRandomEditsAndUndo)
{
    for (const bool attached : {false, true}) {
        SCOPED_TRACE(attached ? "attached storage" : "own storage");
        std::mt19937 random(7);
        const QString saved = ProgramGenerator::milling(4000, 3);
        EditorDocument document;
        document.finishLoading(saved);
        CountingStorage *widget = nullptr;
        if (attached) {
            auto storage = std::make_unique<CountingStorage>();
            widget = storage.get();
            document.attachStorage(std::move(storage));
        }
        QString expected = saved;
        struct Undo {
            qsizetype position;
            qsizetype length;
            QString removed;
        };
        std::vector<Undo> undo;
        const auto edit = [&](qsizetype position, qsizetype removed, const QString &inserted) {
            const qint64 revision = document.revision();
            // The widget reports every modification it makes, even one that
            // puts back the same characters; the document counts what it hears.
            const bool changes =
                widget ? (removed > 0 || !inserted.isEmpty()) : expected.mid(position, removed) != inserted;
            if (widget) {
                widget->type(document, position, removed, inserted);
            } else {
                document.replace(position, removed, inserted);
            }
            expected.replace(position, removed, inserted);
            EXPECT_EQ(document.revision(), revision + (changes ? 1 : 0));
            ASSERT_EQ(document.textLength(), expected.size());
            EXPECT_EQ(document.isDirty(), expected != saved);
        };
        for (int step = 0; step < 300; ++step) {
            const qsizetype position = std::uniform_int_distribution<qsizetype>(0, expected.size())(random);
            const qsizetype removed =
                std::uniform_int_distribution<qsizetype>(0, std::min<qsizetype>(3, expected.size() - position))(random);
            // Often the same length, the case a length check cannot decide.
            const int insertedLength = std::uniform_int_distribution<int>(0, 3)(random);
            QString inserted;
            for (int i = 0; i < insertedLength; ++i) {
                inserted += QChar(u"XYZ019 \n"[random() % 8]);
            }
            undo.push_back({position, inserted.size(), expected.mid(position, removed)});
            edit(position, removed, inserted);
        }
        while (!undo.empty()) {
            const Undo step = undo.back();
            undo.pop_back();
            edit(step.position, step.length, step.removed);
        }
        EXPECT_EQ(document.text(), saved);
        EXPECT_FALSE(document.isDirty());
    }
}

TEST(EditorDocument, AttachedStorageIsNeverCopiedForEditsOrDirtyChecks)
{
    const QString program = ProgramGenerator::milling(4 << 20, 11);
    EditorDocument document;
    document.finishLoading(program);
    auto owned = std::make_unique<CountingStorage>();
    CountingStorage *widget = owned.get();
    document.attachStorage(std::move(owned));
    EXPECT_EQ(document.revision(), 1);
    EXPECT_FALSE(document.isDirty());

    const qsizetype middle = program.size() / 2;
    for (int i = 0; i < 500; ++i) {
        widget->type(document, middle + i, 0, "X"); // typing...
        EXPECT_TRUE(document.isDirty());
    }
    for (int i = 499; i >= 0; --i) {
        widget->type(document, middle + i, 1, ""); // ...and deleting it again
        ASSERT_EQ(document.isDirty(), i != 0);
    }
    widget->type(document, 10, 1, "#");          // an overtype far up...
    widget->type(document, program.size() - 3, 1, "#"); // ...and one near the end
    for (int i = 0; i < 200; ++i) {
        // Same length as saved on every other step; the known difference at
        // the top settles it without comparing the megabytes in between.
        widget->type(document, middle, i % 2 ? 0 : 1, i % 2 ? "Q" : "");
        EXPECT_TRUE(document.isDirty());
    }
    EXPECT_EQ(widget->materialised, 0);
    EXPECT_LT(widget->compared, 64 * 1024) << "the dirty checks compared far more than the edited part";
    EXPECT_EQ(document.revision(), 1 + 500 + 500 + 2 + 200);

    // Taking the text back out gives exactly what the widget held.
    const std::unique_ptr<DocumentTextStorage> back = document.detachStorage();
    EXPECT_EQ(back.get(), widget);
    EXPECT_FALSE(document.hasAttachedStorage());
    EXPECT_EQ(document.text(), back->text());
    EXPECT_TRUE(document.isDirty());
}

TEST(EditorDocument, UndescribedEditStillGivesTheExactDirtyState)
{
    EditorDocument document;
    document.finishLoading("G0 X0\nM30\n");
    auto owned = std::make_unique<CountingStorage>();
    CountingStorage *widget = owned.get();
    document.attachStorage(std::move(owned));
    widget->setText("G0 X9\nM30\n");
    document.recordEdit();
    EXPECT_EQ(document.revision(), 2);
    EXPECT_TRUE(document.isDirty());
    widget->setText("G0 X0\nM30\n");
    document.recordEdit();
    EXPECT_FALSE(document.isDirty());
}

TEST(EditorDocument, SaveWritesTheTextAndMakesTheDocumentClean)
{
    QTemporaryDir dir;
    EditorDocument document;
    document.setText("G0 X0\r\nM30\r\n");
    EXPECT_TRUE(document.isDirty());
    QSignalSpy urls(&document, &EditorDocument::urlChanged);
    QSignalSpy saved(&document, &EditorDocument::savedTextChanged);
    const QUrl target = QUrl::fromLocalFile(dir.filePath("new.nc"));

    EXPECT_EQ(document.saveTo(target), QString());
    EXPECT_EQ(document.url(), target);
    EXPECT_EQ(document.savedText(), "G0 X0\r\nM30\r\n");
    EXPECT_FALSE(document.isDirty());
    EXPECT_EQ(readBytes(dir.filePath("new.nc")), "G0 X0\r\nM30\r\n");
    EXPECT_EQ(urls.count(), 1);
    EXPECT_EQ(saved.count(), 1);
    EXPECT_EQ(document.revision(), 1); // saving is not an edit

    document.replace(4, 1, "5");
    EXPECT_TRUE(document.isDirty());
}

TEST(EditorDocument, FailedSaveChangesNothingAndReportsTheSystemText)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("part.nc");
    EditorDocument document(QUrl::fromLocalFile(path));
    document.finishLoading("G0 X0\n");
    ASSERT_EQ(document.saveTo(document.url()), QString());
    document.setText("G0 X999\n");

    ReadOnlyFolder readOnly(dir.path());
    if (readOnly.writable()) {
        GTEST_SKIP() << "cannot make a folder read-only here";
    }
    const QUrl elsewhere = QUrl::fromLocalFile(dir.filePath("other.nc"));
    EXPECT_FALSE(document.saveTo(elsewhere).isEmpty());
    EXPECT_FALSE(document.saveTo(document.url()).isEmpty());
    EXPECT_EQ(document.url(), QUrl::fromLocalFile(path));
    EXPECT_EQ(document.savedText(), "G0 X0\n");
    EXPECT_TRUE(document.isDirty());
    EXPECT_EQ(readBytes(path), "G0 X0\n");
    EXPECT_FALSE(QFile::exists(dir.filePath("other.nc")));
}
