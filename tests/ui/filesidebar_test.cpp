#include "uifixture.h"

#include "panels/filesidebar.h"
#include "panels/filetreemodel.h"

#include <QDir>
#include <QTest>
#include <QTreeView>

TEST_F(UiTest, SidebarShowsFoldersFirstReadsEachFolderWhenExpandedAndOpensOnClick)
{
    // programs/{b.nc, A.nc, .hidden.nc, .git/, z/{deep.nc, inner/x.nc}}
    for (const char *folder : {"programs/.git", "programs/z/inner"}) {
        ASSERT_TRUE(QDir().mkpath(path(folder)));
    }
    for (const char *file : {"programs/b.nc", "programs/A.nc", "programs/.hidden.nc", "programs/z/deep.nc",
                             "programs/z/inner/x.nc"}) {
        ASSERT_TRUE(QFile(path(file)).open(QIODevice::WriteOnly));
    }
    QSettings(path("settings.ini"), QSettings::IniFormat)
        .setValue("varn.folders", QStringList{path("programs")});
    makeModel().loadFolders();
    FileSidebar sidebar(*model);
    sidebar.resize(280, 500);
    sidebar.show();
    FileTreeModel *tree = sidebar.treeModel();
    QTreeView *view = sidebar.treeView();
    const auto names = [tree](const QModelIndex &parent) {
        QStringList out;
        for (int row = 0; row < tree->rowCount(parent); ++row) {
            out << tree->index(row, 0, parent).data().toString();
        }
        return out;
    };
    const auto child = [tree](const QModelIndex &parent, const QString &name) {
        return tree->match(tree->index(0, 0, parent), Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0);
    };
    const QModelIndex root = tree->index(0, 0);
    ASSERT_EQ(names({}), QStringList{"programs"});
    EXPECT_FALSE(model->fileTreeRoots().first()->hasLoadedChildren())
        << "nothing read before the user expands";
    EXPECT_TRUE(tree->hasChildren(root)) << "the folder still shows its arrow";
    view->expand(root);
    EXPECT_EQ(names(root), (QStringList{"z", "A.nc", "b.nc"}));
    const QModelIndex z = child(root, "z");
    EXPECT_FALSE(tree->node(z)->hasLoadedChildren()) << "a sub-folder waits for its own expansion";
    view->expand(z);
    EXPECT_EQ(names(z), (QStringList{"inner", "deep.nc"}));
    EXPECT_EQ(tree->parent(child(z, "deep.nc")), z);

    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(z).center());
    EXPECT_EQ(model->documents().size(), 0) << "a folder is not a program";
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(child(root, "A.nc")).center());
    ASSERT_NE(model->selectedDocument(), nullptr);
    EXPECT_EQ(model->selectedDocument()->url(), QUrl::fromLocalFile(path("programs/A.nc")));
}
