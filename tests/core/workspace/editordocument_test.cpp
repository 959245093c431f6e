#include "workspace/editordocument.h"
#include "workspace/utf8blockstorage.h"

#include "programgenerator.h"

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
        const qsizetype common = std::mismatch(expected.begin(), expected.end(), m_text.begin() + position).first - expected.begin();
        compared += std::min(common + 1, expected.size());
        return common == expected.size() ? -1 : common;
    }
    QString textRange(qsizetype position, qsizetype length) const override { return m_text.mid(position, length); }
    // The user types into the widget; the document is told before and after.
    void type(EditorDocument &document, qsizetype position, qsizetype removed, const QString &inserted)
    {
        document.willEdit(position, removed);
        m_text.replace(position, removed, inserted);
        document.recordEdit(position, removed, inserted.size());
    }
    mutable int materialised = 0;
    mutable qsizetype compared = 0;

private:
    QString m_text;
};

} // namespace

TEST(EditorDocument, StartsCleanAndCountsOnlyRealChanges)
{
    EditorDocument untitled;
    EXPECT_NE(untitled.id(), EditorDocument().id());
    EXPECT_EQ(untitled.displayName(AppLanguage::english), "Untitled");
    EXPECT_FALSE(untitled.isLoading() || untitled.isDirty() || untitled.revision() != 0 || !untitled.isUntitled());
    EditorDocument loading(QUrl::fromLocalFile("/programs/pocket.nc"));
    EXPECT_TRUE(loading.isLoading());
    QSignalSpy loadingSpy(&loading, &EditorDocument::loadingChanged);
    loading.finishLoading("%\nM30\n");
    EXPECT_EQ(loadingSpy.count(), 1);
    EXPECT_FALSE(loading.isLoading() || loading.isDirty());
    EXPECT_EQ(loading.savedText(), "%\nM30\n");
    EXPECT_EQ(loading.revision(), 1); // the text did change, from empty to the file

    EditorDocument document(QUrl::fromLocalFile("/p/a.nc"), "N10 G0 X0"); // read ahead: clean, revision 0
    EXPECT_FALSE(document.isLoading() || document.isDirty() || document.revision() != 0);
    QSignalSpy changed(&document, &EditorDocument::textChanged);
    document.setText("N10 G0 X0"); // same text, same characters, nothing for nothing: no change
    document.replace(8, 1, "0");
    document.replace(2, 0, "");
    document.setText("N10 G0 X7");
    EXPECT_TRUE(document.isDirty());
    document.setText(QString("N10 G0 X") + "0"); // equal text, not the same buffer
    EXPECT_FALSE(document.isDirty());
    ASSERT_EQ(changed.count(), 2);
    EXPECT_EQ(changed.at(1).at(0).toLongLong(), 2);
    document.setSavedText("N10 G0 X9");
    EXPECT_TRUE(document.isDirty());
}

// Random edits and their undo, checked step by step against the rule itself:
// dirty means the text differs from the saved text.
TEST(EditorDocument, DirtyIsExactlyTextDiffersFromSavedTextUnderRandomEditsAndUndo)
{
    for (const bool attached : {false, true}) {
        SCOPED_TRACE(attached ? "attached storage" : "own storage");
        std::mt19937 random(7);
        const QString saved = ProgramGenerator::milling(4000, 3);
        EditorDocument document;
        document.finishLoading(saved);
        CountingStorage *widget = attached ? new CountingStorage : nullptr;
        if (widget) {
            document.attachStorage(std::unique_ptr<CountingStorage>(widget));
        }
        QString expected = saved;
        std::vector<std::tuple<qsizetype, qsizetype, QString>> undo;
        const auto edit = [&](qsizetype position, qsizetype removed, const QString &inserted) {
            const qint64 revision = document.revision();
            // The widget reports every modification, even one that puts back the
            // same characters; the document counts what it hears.
            const bool changes = widget ? removed > 0 || !inserted.isEmpty() : expected.mid(position, removed) != inserted;
            widget ? widget->type(document, position, removed, inserted) : document.replace(position, removed, inserted);
            expected.replace(position, removed, inserted);
            EXPECT_EQ(document.revision(), revision + (changes ? 1 : 0));
            ASSERT_EQ(document.textLength(), expected.size());
            EXPECT_EQ(document.isDirty(), expected != saved);
        };
        for (int step = 0; step < 300; ++step) {
            const qsizetype position = random() % (expected.size() + 1);
            const qsizetype removed = random() % (std::min<qsizetype>(3, expected.size() - position) + 1);
            QString inserted; // often the same length, the case a length check cannot decide
            for (int i = random() % 4; i > 0; --i) {
                inserted += QChar(u"XYZ019 \n"[random() % 8]);
            }
            undo.emplace_back(position, inserted.size(), expected.mid(position, removed));
            edit(position, removed, inserted);
        }
        for (auto step = undo.rbegin(); step != undo.rend(); ++step) {
            edit(std::get<0>(*step), std::get<1>(*step), std::get<2>(*step));
        }
        EXPECT_FALSE(document.isDirty());
    }
}

TEST(EditorDocument, AttachedStorageIsNeverCopiedForEditsOrDirtyChecks)
{
    const QString program = ProgramGenerator::milling(4 << 20, 11);
    EditorDocument document;
    document.finishLoading(program);
    auto *widget = new CountingStorage;
    document.attachStorage(std::unique_ptr<CountingStorage>(widget));
    const qsizetype middle = program.size() / 2;
    for (int i = 0; i < 1000; ++i) { // typing, then deleting it again
        widget->type(document, middle + std::min(i, 999 - i), i < 500 ? 0 : 1, i < 500 ? "X" : "");
        ASSERT_EQ(document.isDirty(), i != 999);
    }
    widget->type(document, 10, 1, "#");                 // an overtype far up...
    widget->type(document, program.size() - 3, 1, "#"); // ...and one near the end
    for (int i = 0; i < 200; ++i) {
        // Same length as saved on every other step; the known difference at
        // the top settles it without comparing the megabytes in between.
        widget->type(document, middle, i % 2 ? 0 : 1, i % 2 ? "Q" : "");
        EXPECT_TRUE(document.isDirty());
    }
    EXPECT_EQ(widget->materialised, 0);
    EXPECT_LT(widget->compared, 64 * 1024) << "the dirty checks compared far more than the edited part";
    EXPECT_EQ(document.revision(), 1 + 1000 + 2 + 200);

    // An edit the widget cannot describe is compared in full, still exactly.
    document.willEdit(0, document.textLength());
    widget->setText(program);
    document.recordEdit();
    EXPECT_FALSE(document.isDirty());
    widget->type(document, 0, 0, "%"); // taking the text back out gives exactly what the widget held
    EXPECT_EQ(document.detachStorage().get(), widget);
    EXPECT_EQ(document.text(), "%" + program);
    EXPECT_TRUE(document.isDirty());
}

// What a failed save leaves behind is covered with the other save faults.
TEST(EditorDocument, SavingMovesTheDocumentToItsFileWithoutCountingAsAnEdit)
{
    QTemporaryDir dir;
    EditorDocument document;
    document.setText("G0 X0\r\nM30\r\n");
    QSignalSpy urls(&document, &EditorDocument::urlChanged);
    const QString path = dir.filePath("new.nc");
    EXPECT_EQ(document.saveTo(QUrl::fromLocalFile(path)), QString());
    EXPECT_EQ(document.url(), QUrl::fromLocalFile(path));
    EXPECT_EQ(urls.count(), 1);
    EXPECT_FALSE(document.isDirty());
    EXPECT_EQ(document.revision(), 1);
}

// Saved text kept as a window: what the document remembers must always be
// the saved text exactly, however the edits move the window's two ends.
TEST(SavedWindow, SavedTextSurvivesEditsAtBothEndsAndAnUnannouncedEditStaysDirty)
{
    const QString saved = QStringLiteral("%\nO1000\nG0 X0\nG1 Y\u00e91\nM30\n%\n");
    const std::tuple<qsizetype, qsizetype, QString> edits[] = {
        {8, 3, "G2"}, {0, 1, ""}, {saved.size() - 3, 3, "M2\n"}, {5, 20, QStringLiteral("\U0001F600")}};
    EditorDocument document(QUrl(), saved);
    QString expected = saved;
    for (const auto &[position, removed, inserted] : edits) {
        const qsizetype cut = std::min(removed, expected.size() - position);
        document.replace(position, cut, inserted);
        expected.replace(position, cut, inserted);
        ASSERT_EQ(document.text(), expected);
        EXPECT_EQ(document.savedText(), saved);
        EXPECT_EQ(document.savedLength(), saved.size());
        EXPECT_TRUE(document.isDirty());
    }
    document.setText(saved); // a tool puts everything back: clean, and the window is gone for good
    EXPECT_FALSE(document.isDirty());
    document.replace(1, 0, "X");
    EXPECT_EQ(document.savedText(), saved);
    document.replace(1, 1, QString());
    EXPECT_FALSE(document.isDirty());

    EditorDocument other(QUrl(), "G0 X0\n");
    auto *widget = new Utf8BlockStorage;
    other.attachStorage(std::unique_ptr<Utf8BlockStorage>(widget));
    widget->replace(3, 1, "Y");
    other.recordEdit(3, 1, 1); // never announced: what was saved there is lost
    widget->replace(3, 1, "X");
    other.recordEdit(3, 1, 1);
    EXPECT_TRUE(other.isDirty()) << "must never claim clean without knowing";
}

// The UTF-8 block storage against a QString doing the same, with blocks and
// ranges that cut through multi-byte characters and surrogate pairs.
TEST(Utf8BlockStorage, RangesAndReplacementsMatchAPlainString)
{
    // The second block starts with U+FEFF: text, which a plain fromUtf8 would drop.
    const QList<QByteArray> blocks{"N1 G0 X\xc3\xa9\n", "\xef\xbb\xbf(\xf0\x9f\x98\x80)\n", "M30\n"};
    QString reference = QStringLiteral("N1 G0 X\u00e9\n\ufeff(") + QString::fromUcs4(U"\U0001F600") +
                        QStringLiteral(")\nM30\n");
    Utf8BlockStorage storage(blocks);
    ASSERT_EQ(storage.length(), reference.size());
    EXPECT_EQ(storage.text(), reference);
    for (qsizetype from = 0; from <= reference.size(); ++from) {
        for (qsizetype n = 0; from + n <= reference.size(); ++n) {
            ASSERT_EQ(storage.textRange(from, n), reference.mid(from, n)) << from << "+" << n;
        }
    }
    QString changed = reference;
    changed[reference.size() - 2] = '1';
    EXPECT_EQ(storage.firstDifference(0, changed), reference.size() - 2);
    EXPECT_EQ(storage.firstDifference(3, QStringView(reference).sliced(3)), -1);
    const std::tuple<qsizetype, qsizetype, const char *> replacements[] = {
        {8, 6, "Z"}, {0, 0, "%\n"}, {2, 100, ""}, {0, 2, "\xc3\xb1"}};
    for (const auto &[position, removed, inserted] : replacements) {
        const qsizetype cut = std::min(removed, reference.size() - position);
        storage.replace(position, cut, QString::fromUtf8(inserted));
        reference.replace(position, cut, QString::fromUtf8(inserted));
        ASSERT_EQ(storage.text(), reference);
        ASSERT_EQ(storage.length(), reference.size());
    }
    EXPECT_EQ(Utf8BlockStorage(storage.utf8Blocks()).text(), reference);
}
