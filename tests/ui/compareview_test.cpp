#include "uifixture.h"

#include "compare/compareview.h"
#include "panels/filesidebar.h"
#include "panels/filetreemodel.h"

#include <Qsci/qsciscintilla.h>

#include <QMenu>
#include <QTreeView>

namespace {

using Segment = ProgramDiff::Segment;

// What each line of one side shows, as marker numbers (0: unmarked).
QList<int> shownMarkers(QsciScintilla *editor)
{
    QList<int> out;
    for (int line = 0; line < editor->lines(); ++line) {
        const unsigned mask = editor->markersAtLine(line);
        out << (mask == 0 ? 0 : __builtin_ctz(mask));
    }
    return out;
}

// The same from the core's hunks, for a side of `lines` lines.
QList<int> expectedMarkers(const QList<Segment> &hunks, qsizetype lines, bool left)
{
    QList<int> out(lines, 0);
    for (const Segment &h : hunks) {
        const bool replaced = h.aCount > 0 && h.bCount > 0;
        const int marker = replaced ? CompareView::changedMarker
                                    : (left ? CompareView::removedMarker : CompareView::addedMarker);
        for (qsizetype i = 0; i < (left ? h.aCount : h.bCount); ++i) {
            out[(left ? h.a : h.b) + i] = marker;
        }
    }
    return out;
}

void expectViewShowsTheCoresHunks(CompareView &view, const QByteArray &a, const QByteArray &b)
{
    ASSERT_TRUE(QTest::qWaitFor([&] { return !view.isComparing(); }));
    const QList<Segment> hunks = ProgramDiff::compare(a, b, view.options()).hunks();
    EXPECT_EQ(view.result().hunks(), hunks);
    // QScintilla always has one line more after a final newline: the empty last one.
    EXPECT_EQ(shownMarkers(view.leftEditor()), expectedMarkers(hunks, view.leftEditor()->lines(), true));
    EXPECT_EQ(shownMarkers(view.rightEditor()), expectedMarkers(hunks, view.rightEditor()->lines(), false));
}

} // namespace

TEST_F(UiTest, CompareWithMarksTheCoresHunksUnderEachOptionAndStepsThroughThem)
{
    QByteArray a = "%\nO1000 (PART)\n", b = "%\nO1000 (PART REV B)\n";
    for (int i = 0; i < 60; ++i) {
        a += "N" + QByteArray::number(10 * i) + " G1 X" + QByteArray::number(i) + ". Y2.5\n";
        b += i == 20 ? "" : "N" + QByteArray::number(10 * i + 5) + " G1 X" + QByteArray::number(i) + ".00 Y2.5\n";
        b += i == 40 ? "G4 P1.\n" : "";
    }
    showWindow();
    openFile("a.nc", a);
    dialogs.fileAnswers = {{QUrl::fromLocalFile(path("b.nc"))}};
    QFile file(path("b.nc"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(b) == b.size());
    file.close();
    trigger("Compare With…");
    auto *view = window->findChild<CompareView *>();
    ASSERT_NE(view, nullptr);
    EXPECT_TRUE(view->isWindow());
    expectViewShowsTheCoresHunks(*view, a, b);
    for (const ProgramDiff::Options &options :
         {ProgramDiff::Options{true, 0, false, false}, ProgramDiff::Options{true, 0, true, false},
          ProgramDiff::Options{true, 0.5, true, true}}) {
        view->setOptions(options);
        expectViewShowsTheCoresHunks(*view, a, b);
    }
    // Numbers by value and no N numbers: the header comment, the removed and the added block.
    view->setOptions({true, 0, true, false});
    expectViewShowsTheCoresHunks(*view, a, b);
    const QList<Segment> hunks = view->result().hunks();
    ASSERT_EQ(hunks.size(), 3);
    view->nextDifference();
    view->nextDifference();
    EXPECT_EQ(view->currentDifference(), 1);
    EXPECT_EQ(view->summaryText(), "Difference 2 of 3");
    view->previousDifference();
    view->previousDifference();
    EXPECT_EQ(view->currentDifference(), 2); // wraps round
    view->close();
}

TEST_F(UiTest, TwoProgramsSelectedInTheExplorerOfferToBeCompared)
{
    QDir().mkpath(path("programs"));
    for (const auto &[name, text] : {std::pair{"a.nc", "G0 X1\n"}, std::pair{"b.nc", "G0 X2\n"}}) {
        QFile file(path(QString("programs/") + name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QSettings(path("settings.ini"), QSettings::IniFormat).setValue("varn.folders", QStringList{path("programs")});
    makeModel().loadFolders();
    QWidget window;
    auto *sidebar = new FileSidebar(*model, &window);
    window.show();
    FileTreeModel *tree = sidebar->treeModel();
    const QModelIndex root = tree->index(0, 0);
    tree->fetchMore(root);
    ASSERT_TRUE(QTest::qWaitFor([&] { return tree->rowCount(root) == 2; }));
    const QModelIndex first = tree->index(0, 0, root);
    sidebar->treeView()->selectionModel()->select(first, QItemSelectionModel::Select);
    const auto compareAction = [&] {
        std::unique_ptr<QMenu> menu(sidebar->contextMenu(first));
        for (QAction *action : menu->actions()) {
            if (action->text() == "Compare Selected Files") {
                action->trigger();
                return true;
            }
        }
        return false;
    };
    EXPECT_FALSE(compareAction());
    sidebar->treeView()->selectionModel()->select(tree->index(1, 0, root), QItemSelectionModel::Select);
    ASSERT_TRUE(compareAction());
    auto *view = window.findChild<CompareView *>();
    ASSERT_NE(view, nullptr);
    expectViewShowsTheCoresHunks(*view, "G0 X1\n", "G0 X2\n");
    EXPECT_EQ(view->result().hunks().size(), 1);
}
