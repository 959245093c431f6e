#include "uifixture.h"

#include "panels/filesidebar.h"
#include "panels/filetreemodel.h"

#include <QDir>
#include <QTest>
#include <QTreeView>

namespace {

class FileSidebarTest : public UiTest {
protected:
    void SetUp() override
    {
        // programs/{b.nc, A.nc, .hidden.nc, .git/, z/{deep.nc, inner/x.nc}}
        for (const char *folder : {"programs/.git", "programs/z/inner"}) {
            ASSERT_TRUE(QDir().mkpath(path(folder)));
        }
        for (const char *file : {"programs/b.nc", "programs/A.nc", "programs/.hidden.nc", "programs/z/deep.nc",
                                 "programs/z/inner/x.nc"}) {
            ASSERT_TRUE(QFile(path(file)).open(QIODevice::WriteOnly));
        }
        QSettings(path("settings.ini"), QSettings::IniFormat).setValue("varn.folders", QStringList{path("programs")});
        makeModel().loadFolders();
        sidebar = std::make_unique<FileSidebar>(*model);
        sidebar->resize(280, 500);
        sidebar->show();
        tree = sidebar->treeModel();
        root = tree->index(0, 0);
    }
    QStringList names(const QModelIndex &parent) const
    {
        QStringList out;
        for (int row = 0; row < tree->rowCount(parent); ++row) {
            out << tree->index(row, 0, parent).data().toString();
        }
        return out;
    }
    QModelIndex child(const QModelIndex &parent, const QString &name) const
    {
        return tree->match(tree->index(0, 0, parent), Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0);
    }
    void expand(const QModelIndex &index)
    {
        sidebar->treeView()->expand(index);
        QCoreApplication::processEvents();
    }

    std::unique_ptr<FileSidebar> sidebar;
    FileTreeModel *tree = nullptr;
    QModelIndex root;
};

} // namespace

TEST_F(FileSidebarTest, FoldersFirstHiddenNeverAndEachFolderReadWhenExpanded)
{
    ASSERT_EQ(names({}), QStringList{"programs"});
    EXPECT_FALSE(model->fileTreeRoots().first()->hasLoadedChildren()) << "nothing read before the user expands";
    EXPECT_TRUE(tree->hasChildren(root)) << "the folder still shows its arrow";
    expand(root);
    EXPECT_EQ(names(root), (QStringList{"z", "A.nc", "b.nc"}));
    const QModelIndex z = child(root, "z");
    EXPECT_FALSE(tree->node(z)->hasLoadedChildren()) << "a sub-folder waits for its own expansion";
    expand(z);
    EXPECT_EQ(names(z), (QStringList{"inner", "deep.nc"}));
    EXPECT_EQ(tree->parent(child(z, "deep.nc")), z);
}

TEST_F(FileSidebarTest, ClickingAProgramOpensItAndAFolderDoesNot)
{
    expand(root);
    QTreeView *view = sidebar->treeView();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(child(root, "z")).center());
    EXPECT_EQ(model->documents().size(), 0) << "a folder is not a program";
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(child(root, "A.nc")).center());
    ASSERT_NE(model->selectedDocument(), nullptr);
    EXPECT_EQ(model->selectedDocument()->url(), QUrl::fromLocalFile(path("programs/A.nc")));
}
