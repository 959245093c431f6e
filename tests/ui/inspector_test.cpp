#include "windowfixture.h"

#include "editor/gcodeeditor.h"
#include "panels/inspectorview.h"

#include "nc/analysisreport.h"

#include <QListView>
#include <QTest>
#include <QToolButton>

namespace {

// The rows as "kind|text|value|line", the way the panel lists them.
QStringList rows(const InspectorView *view)
{
    QStringList out;
    const QAbstractItemModel *list = view->rowList()->model();
    for (int i = 0; i < list->rowCount(); ++i) {
        const QModelIndex index = list->index(i, 0);
        out.append(QStringLiteral("%1|%2|%3|%4")
                       .arg(index.data(InspectorView::kindRole).toInt())
                       .arg(index.data().toString(), index.data(InspectorView::valueRole).toString())
                       .arg(index.data(InspectorView::lineRole).toInt()));
    }
    return out;
}

QStringList filtered(const QStringList &all, const QString &prefix)
{
    QStringList out;
    for (const QString &row : all) {
        if (row.startsWith(prefix)) {
            out.append(row);
        }
    }
    return out;
}

const QString section = QString::number(int(InspectorView::RowKind::section)) + '|';
const QString jump = QString::number(int(InspectorView::RowKind::jump)) + '|';
const QString note = QString::number(int(InspectorView::RowKind::note)) + '|';

} // namespace

class InspectorTest : public MainWindowTest {
protected:
    InspectorView *panel() const { return window->inspector(); }
    void analyse()
    {
        model->setShowInspector(true);
        ASSERT_TRUE(waitUntil([&] { return model->analysis().has_value() && !model->analysisInProgress(); }));
    }
};

TEST_F(InspectorTest, ShowsTheInvitationThenProgressThenTheAnalysis)
{
    model->closeDocument(model->selectedDocument());
    model->setSelectedDocumentId(std::nullopt);
    model->setShowInspector(true);
    QCoreApplication::processEvents();
    EXPECT_EQ(panel()->messageShown(), QStringLiteral("Open a program to analyze it."));

    model->setSelectedDocumentId(model->documents().first()->id());
    model->refreshAnalysis();
    EXPECT_EQ(panel()->messageShown(), QStringLiteral("Analyzing program…"));
    ASSERT_TRUE(waitUntil([&] { return model->analysis().has_value(); }));
    EXPECT_EQ(panel()->messageShown(), QString());

    model->setLanguage(AppLanguage::spanish);
    ASSERT_TRUE(waitUntil([&] { return !model->analysisInProgress() && model->analysis().has_value(); }));
    EXPECT_EQ(filtered(rows(panel()), section).first(), section + QStringLiteral("Resumen||0"));
}

TEST_F(InspectorTest, ListsSummaryToolsCommentsAndWarningsWithTheirLines)
{
    model->selectedDocument()->setText(
        QStringLiteral("%\nO0007\n(FACE)\nT3 M6 (DRILL 5)\nG21 G0 X0\nG1 X5\nM30\n%\n"));
    analyse();
    const QStringList all = rows(panel());
    EXPECT_EQ(filtered(all, section), (QStringList{section + "Summary||0", section + "Tools||0",
                                                   section + "Comments||0", section + "Warnings||0"}));
    const auto summary = AnalysisReport::summaryRows(*model->analysis(), AppLanguage::english);
    EXPECT_EQ(all.at(1), QStringLiteral("1|%1|%2|0").arg(summary.first().key, summary.first().value));
    const QStringList jumps = filtered(all, jump);
    ASSERT_GE(jumps.size(), 3);
    EXPECT_EQ(jumps.at(0), jump + QStringLiteral("T3  DRILL 5||4")) << "tools come first";
    EXPECT_TRUE(jumps.contains(jump + QStringLiteral("FACE||3")));
    EXPECT_TRUE(jumps.contains(jump + QStringLiteral("Cutting move with F0 or no F feed rate||6")));
    EXPECT_TRUE(filtered(all, note).isEmpty()) << "no 'No Warnings' row beside warnings";
}

TEST_F(InspectorTest, ACleanProgramHasExactlyOneNoWarningsRow)
{
    model->selectedDocument()->setText(QStringLiteral("%\nO1\nG21 S1000 M3\nG1 X5 F100\nM30\n%\n"));
    analyse();
    ASSERT_TRUE(model->analysis()->warnings.isEmpty());
    EXPECT_EQ(filtered(rows(panel()), note), QStringList{note + QStringLiteral("No Warnings||0")});
}

TEST_F(InspectorTest, ClickingAWarningSelectsItsLineInTheEditor)
{
    QString text = QStringLiteral("%\nO1\nS1000 M3\n");
    for (int line = 4; line < 120; ++line) {
        text += QStringLiteral("G0 X%1\n").arg(line);
    }
    text += QStringLiteral("G1 X1\nM30\n%\n"); // line 120 cuts without a feed
    model->selectedDocument()->setText(text);
    analyse();
    QListView *list = panel()->rowList();
    const QModelIndex last = list->model()->index(list->model()->rowCount() - 1, 0);
    ASSERT_EQ(last.data(InspectorView::lineRole).toInt(), 120);
    list->scrollTo(last);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(last).center());
    GCodeEditor *editor = window->editorPane()->editor();
    EXPECT_EQ(editor->wholeText().mid(editor->selectionStart16(), editor->selectionLength16()),
              QStringLiteral("G1 X1\n"));
}

TEST_F(InspectorTest, HeaderButtonsAndTabSwitchesReanalyse)
{
    model->selectedDocument()->setText(QStringLiteral("G0 X1\n"));
    model->newDocument()->setText(QStringLiteral("G0 X1\nG0 X2\nG0 X3\n"));
    analyse();
    EXPECT_EQ(model->analysis()->lineCount, 4) << "a final line break starts an empty last line";
    window->editorPane()->tabBar()->setCurrentIndex(0);
    ASSERT_TRUE(waitUntil([&] { return model->analysis() && model->analysis()->lineCount == 2; }));

    model->storeAnalysis(model->selectedDocument()->id(), {model->selectedDocument()->revision(), {}});
    panel()->findChild<QToolButton *>(QStringLiteral("recalculate"))->click();
    ASSERT_TRUE(waitUntil([&] { return model->analysis() && !model->analysisInProgress(); }));
    EXPECT_EQ(model->analysis()->lineCount, 0) << "the cache answers for an unchanged program";
    model->selectedDocument()->setText(QStringLiteral("G0 X1\nG0 X2\n"));
    panel()->findChild<QToolButton *>(QStringLiteral("recalculate"))->click();
    ASSERT_TRUE(waitUntil([&] { return model->analysis() && model->analysis()->lineCount == 3; }));

    panel()->findChild<QToolButton *>(QStringLiteral("closePanel"))->click();
    EXPECT_FALSE(model->showInspector());
    EXPECT_FALSE(panel()->isVisible());
}
