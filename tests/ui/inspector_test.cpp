#include "uifixture.h"

#include "editor/gcodeeditor.h"
#include "panels/inspectorview.h"

#include "nc/analysisreport.h"

#include <QListView>
#include <QTest>

namespace {

class InspectorTest : public UiTest {
protected:
    InspectorView *panel() const { return window->inspector(); }
    void analyse(const QString &text)
    {
        model->selectedDocument()->setText(text);
        model->setShowInspector(true);
        ASSERT_TRUE(QTest::qWaitFor([&] {
            return model->analysis() && !model->analysisInProgress() &&
                   model->analysis()->lineCount == text.count('\n') + 1;
        }));
    }
    // The rows of one kind as "text|value|line".
    QStringList rows(InspectorView::RowKind kind) const
    {
        QStringList out;
        const QAbstractItemModel *list = panel()->rowList()->model();
        for (int i = 0; i < list->rowCount(); ++i) {
            const QModelIndex index = list->index(i, 0);
            if (index.data(InspectorView::kindRole).toInt() == int(kind)) {
                out.append(QStringLiteral("%1|%2|%3")
                               .arg(index.data().toString(), index.data(InspectorView::valueRole).toString())
                               .arg(index.data(InspectorView::lineRole).toInt()));
            }
        }
        return out;
    }
};

} // namespace

TEST_F(InspectorTest, ListsSectionsRowsThatJumpAndOneNoWarningsRowOnlyWhenClean)
{
    showWindow();
    analyse("%\nO0007\n(FACE)\nT3 M6 (DRILL 5)\nG21 G0 X0\nG1 X5\nM30\n%\n");
    EXPECT_EQ(rows(InspectorView::RowKind::section),
              (QStringList{"Summary||0", "Tools||0", "Comments||0", "Warnings||0"}));
    const auto summary = AnalysisReport::summaryRows(*model->analysis(), AppLanguage::english);
    EXPECT_EQ(rows(InspectorView::RowKind::summary).first(),
              summary.first().key + "|" + summary.first().value + "|0");
    const QStringList jumps = rows(InspectorView::RowKind::jump);
    ASSERT_GE(jumps.size(), 3);
    EXPECT_EQ(jumps.first(), "T3  DRILL 5||4") << "tools come first";
    EXPECT_TRUE(jumps.contains("FACE||3"));
    EXPECT_TRUE(jumps.contains("Cutting move with F0 or no F feed rate||6"));
    EXPECT_TRUE(rows(InspectorView::RowKind::note).isEmpty()) << "no 'No Warnings' row beside warnings";

    analyse("%\nO1\nG21 S1000 M3\nG1 X5 F100\nM30\n%\n");
    EXPECT_EQ(rows(InspectorView::RowKind::note), QStringList{"No Warnings||0"});
}

TEST_F(InspectorTest, ClickingARowSelectsItsLine)
{
    showWindow();
    QString text = QStringLiteral("%\nO1\nS1000 M3\n");
    for (int line = 4; line < 120; ++line) {
        text += QStringLiteral("G0 X%1\n").arg(line);
    }
    analyse(text + "G1 X1\nM30\n%\n"); // line 120 cuts without a feed
    QListView *list = panel()->rowList();
    const QModelIndex last = list->model()->index(list->model()->rowCount() - 1, 0);
    ASSERT_EQ(last.data(InspectorView::lineRole).toInt(), 120);
    list->scrollTo(last);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(last).center());
    GCodeEditor *editor = window->editorPane()->editor();
    EXPECT_EQ(editor->wholeText().mid(editor->selectionStart16(), editor->selectionLength16()), "G1 X1\n");
}
