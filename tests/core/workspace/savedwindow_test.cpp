#include "workspace/editordocument.h"
#include "workspace/utf8blockstorage.h"

#include <gtest/gtest.h>

namespace {

// Saved text kept as a window: what the document remembers must always be
// the saved text exactly, however the edits move the window's two ends.
TEST(SavedWindow, SavedTextSurvivesEditsAtBothEndsAndUndoClosesTheWindow)
{
    const QString saved = QStringLiteral("%\nO1000\nG0 X0\nG1 Y\u00e91\nM30\n%\n");
    struct Edit {
        qsizetype position;
        qsizetype removed;
        const char16_t *inserted;
    };
    const Edit edits[] = {{8, 3, u"G2"}, {0, 1, u""}, {saved.size() - 3, 3, u"M2\n"}, {5, 20, u"\U0001F600"}};
    EditorDocument document(QUrl(), saved);
    QString expected = saved;
    for (const Edit &edit : edits) {
        const qsizetype position = std::min(edit.position, expected.size());
        const qsizetype removed = std::min(edit.removed, expected.size() - position);
        const QString inserted = QString::fromUtf16(edit.inserted);
        document.replace(position, removed, inserted);
        expected.replace(position, removed, inserted);
        ASSERT_EQ(document.text(), expected);
        EXPECT_EQ(document.savedText(), saved);
        EXPECT_EQ(document.savedLength(), saved.size());
        EXPECT_TRUE(document.isDirty());
    }
    // A tool puts everything back: clean, and the window is gone for good.
    document.setText(saved);
    EXPECT_FALSE(document.isDirty());
    document.replace(1, 0, QStringLiteral("X"));
    EXPECT_EQ(document.savedText(), saved);
    document.replace(1, 1, QString());
    EXPECT_FALSE(document.isDirty());
}

TEST(SavedWindow, AnUnannouncedEditLeavesTheDocumentDirtyUntilSaved)
{
    EditorDocument document(QUrl(), QStringLiteral("G0 X0\n"));
    auto storage = std::make_unique<Utf8BlockStorage>();
    Utf8BlockStorage *widget = storage.get();
    document.attachStorage(std::move(storage));
    widget->replace(3, 1, QStringLiteral("Y"));
    document.recordEdit(3, 1, 1); // never announced: what was saved there is lost
    widget->replace(3, 1, QStringLiteral("X"));
    document.recordEdit(3, 1, 1);
    EXPECT_TRUE(document.isDirty()) << "must never claim clean without knowing";
}

// The UTF-8 block storage against a QString doing the same, with blocks and
// ranges that cut through multi-byte characters and surrogate pairs.
TEST(Utf8BlockStorage, RangesAndReplacementsMatchAPlainString)
{
    // The second block starts with U+FEFF: text, which a plain fromUtf8 would drop.
    const QList<QByteArray> blocks{QByteArray("N1 G0 X\xc3\xa9\n"), QByteArray("\xef\xbb\xbf(\xf0\x9f\x98\x80)\n"),
                                   QByteArray("M30\n")};
    const QString reference = QStringLiteral("N1 G0 X\u00e9\n\ufeff(") + QString::fromUcs4(U"\U0001F600") +
                              QStringLiteral(")\nM30\n");
    Utf8BlockStorage storage(blocks);
    ASSERT_EQ(storage.length(), reference.size());
    EXPECT_EQ(storage.text(), reference);
    for (qsizetype from = 0; from <= reference.size(); ++from) {
        for (qsizetype n = 0; from + n <= reference.size(); ++n) {
            ASSERT_EQ(storage.textRange(from, n), reference.mid(from, n)) << from << "+" << n;
        }
    }
    QString edited = reference;
    QString changed = reference;
    changed[reference.size() - 2] = QLatin1Char('1');
    EXPECT_EQ(storage.firstDifference(0, changed), reference.size() - 2);
    EXPECT_EQ(storage.firstDifference(3, QStringView(reference).sliced(3)), -1);

    const struct {
        qsizetype position, removed;
        const char *inserted;
    } replacements[] = {{8, 6, "Z"}, {0, 0, "%\n"}, {2, 100, ""}, {0, 2, "\xc3\xb1"}};
    for (const auto &r : replacements) {
        const qsizetype removed = std::min(r.removed, reference.size() - r.position);
        storage.replace(r.position, removed, QString::fromUtf8(r.inserted));
        edited.replace(r.position, removed, QString::fromUtf8(r.inserted));
        ASSERT_EQ(storage.text(), edited);
        ASSERT_EQ(storage.length(), edited.size());
    }
    EXPECT_EQ(Utf8BlockStorage(storage.utf8Blocks()).text(), edited);
}

} // namespace
