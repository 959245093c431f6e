#pragma once

#include <QUrl>
#include <QWidget>

class AppModel;
class FileTreeModel;
class QLabel;
class QMenu;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QToolButton;
class QTreeView;

// The "Explorer" sidebar: the folders the model holds, each as a tree that is
// read from disk as the user expands it. A click on a program opens it; the
// context menu opens, reveals in the file manager, and removes a top-level
// folder from the sidebar (never from disk). Whatever changes the model's
// folders (the add button, VARN_FOLDER, the stored list) shows here, and the
// folders the user had open stay open when the model re-reads the trees after
// a save.
class FileSidebar : public QWidget {
    Q_OBJECT

public:
    explicit FileSidebar(AppModel &model, QWidget *parent = nullptr);

    QTreeView *treeView() const { return m_tree; }
    FileTreeModel *treeModel() const { return m_treeModel; }

    // The context menu for the entry at `index` (none: the empty space), as
    // the user would see it. The caller owns the menu.
    QMenu *contextMenu(const QModelIndex &index);
    // The programs (not folders) selected in the tree, in the order they were picked.
    QList<QUrl> selectedPrograms() const;

private:
    void rebuild();
    void retranslate();
    void openIndex(const QModelIndex &index);
    void reveal(const QUrl &url);
    void expandRemembered(const QModelIndex &parent, const QSet<QUrl> &expanded);
    QSet<QUrl> expandedFolders(const QModelIndex &parent) const;

    AppModel &m_model;
    QLabel *m_title;
    QToolButton *m_addButton;
    QStackedWidget *m_pages;
    QTreeView *m_tree;
    FileTreeModel *m_treeModel;
    QLabel *m_emptyText;
    QPushButton *m_emptyAddButton;
};
