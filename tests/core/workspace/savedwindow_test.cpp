#include "workspace/editordocument.h"
#include "workspace/utf8blockstorage.h"

#include <gtest/gtest.h>

namespace {

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

} // namespace
