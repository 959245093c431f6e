#include "panelfixture.h"

#include "panels/filesidebar.h"
#include "panels/filetreemodel.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QSettings>
#include <QTest>
#include <QTreeView>

namespace {

class FileSidebarTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        // programs/{b.nc, A.nc, .git/, z/{deep.nc, inner/x.nc}}
        for (const char *folder : {"programs/.git", "programs/z/inner"}) {
            ASSERT_TRUE(QDir().mkpath(path(folder)));
        }
        for (const char *file : {"programs/b.nc", "programs/A.nc", "programs/.hidden.nc", "programs/z/deep.nc",
                                 "programs/z/inner/x.nc"}) {
            QFile out(path(file));
            ASSERT_TRUE(out.open(QIODevice::WriteOnly));
            out.write("G0 X0\n");
        }
        // The sidebar shows what the stored folder list holds.
        QSettings(path("settings.ini"), QSettings::IniFormat).setValue("varn.folders", QStringList{path("programs")});
        makeModel().loadFolders();
        sidebar = std::make_unique<FileSidebar>(*model);
        sidebar->resize(280, 500);
        sidebar->show();
        tree = sidebar->treeModel();
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
    QStringList menuTexts(const QModelIndex &index)
    {
        std::unique_ptr<QMenu> menu(sidebar->contextMenu(index));
        QStringList out;
        for (QAction *action : menu->actions()) {
            if (!action->isSeparator()) {
                out << action->text();
            }
        }
        return out;
    }

    std::unique_ptr<FileSidebar> sidebar;
    FileTreeModel *tree = nullptr;
};

} // namespace

TEST_F(FileSidebarTest, FoldersComeFirstHiddenEntriesNeverAndEachFolderIsReadOnlyWhenExpanded)
{
    ASSERT_EQ(names({}), QStringList{"programs"});
    const QModelIndex root = tree->index(0, 0);
    EXPECT_FALSE(model->fileTreeRoots().first()->hasLoadedChildren()) << "nothing read before the user expands";
    EXPECT_TRUE(tree->hasChildren(root)) << "the folder still shows its arrow";

    expand(root);
    EXPECT_EQ(names(root), (QStringList{"z", "A.nc", "b.nc"}));
    const QModelIndex z = child(root, "z");
    const FileNode *zNode = tree->node(z);
    EXPECT_FALSE(zNode->hasLoadedChildren()) << "a sub-folder waits for its own expansion";
    EXPECT_EQ(tree->rowCount(z), 0);

    expand(z);
    EXPECT_TRUE(zNode->hasLoadedChildren());
    EXPECT_EQ(names(z), (QStringList{"inner", "deep.nc"}));
    EXPECT_EQ(tree->parent(child(z, "deep.nc")), z);
}

TEST_F(FileSidebarTest, ClickingAProgramOpensItAndClickingAFolderDoesNot)
{
    const QModelIndex root = tree->index(0, 0);
    expand(root);
    QTreeView *view = sidebar->treeView();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(child(root, "z")).center());
    EXPECT_EQ(model->documents().size(), 0);

    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, view->visualRect(child(root, "A.nc")).center());
    ASSERT_NE(model->selectedDocument(), nullptr);
    EXPECT_EQ(model->selectedDocument()->url(), QUrl::fromLocalFile(path("programs/A.nc")));
}

TEST_F(FileSidebarTest, ContextMenuOffersWhatFitsTheEntryAndRemovingARootEmptiesTheSidebar)
{
    const QModelIndex root = tree->index(0, 0);
    expand(root);
    EXPECT_EQ(menuTexts(child(root, "A.nc")), (QStringList{"Open", "Reveal in File Manager"}));
    EXPECT_EQ(menuTexts(child(root, "z")), QStringList{"Reveal in File Manager"});
    EXPECT_EQ(menuTexts({}), QStringList{"Add Folder…"});

    std::unique_ptr<QMenu> menu(sidebar->contextMenu(child(root, "z")));
    menu->actions().first()->trigger();
    EXPECT_EQ(dialogs.revealed, QList<QUrl>{QUrl::fromLocalFile(path("programs/z"))});

    model->setLanguage(AppLanguage::spanish);
    EXPECT_EQ(menuTexts(tree->index(0, 0)), (QStringList{"Mostrar en el gestor de archivos", "Quitar carpeta"}))
        << "a root can be removed from the sidebar";
    EXPECT_EQ(sidebar->findChild<QLabel *>()->text(), "Explorador");

    menu.reset(sidebar->contextMenu(tree->index(0, 0)));
    menu->actions().last()->trigger();
    EXPECT_TRUE(model->folderUrls().isEmpty());
    EXPECT_EQ(tree->rowCount({}), 0);
    EXPECT_TRUE(stored("varn.folders").toStringList().isEmpty());
    EXPECT_FALSE(sidebar->treeView()->isVisible()) << "the empty sidebar offers to add a folder instead";
}

TEST_F(FileSidebarTest, OpenFoldersStayOpenWhenTheTreesAreReadAgain)
{
    expand(tree->index(0, 0));
    expand(child(tree->index(0, 0), "z"));
    QFile(path("programs/z/new.nc")).open(QIODevice::WriteOnly);

    model->rebuildRoots(); // what a save does
    const QModelIndex z = child(tree->index(0, 0), "z");
    EXPECT_TRUE(sidebar->treeView()->isExpanded(z));
    EXPECT_EQ(names(z), (QStringList{"inner", "deep.nc", "new.nc"})) << "read from disk again";
}
