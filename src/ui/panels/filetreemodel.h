#pragma once

#include "workspace/filenode.h"

#include <QAbstractItemModel>
#include <QHash>

// The sidebar's folder trees as an item model over FileNode. A folder's
// entries are read from disk only when the view first expands it (through
// fetchMore), so adding a folder with thousands of programs below it costs one
// listing of its top level. Until then a folder reports that it may have
// children, which is all the view needs to draw its expand arrow.
//
// The model holds the roots it was given and every node it has shown; a new
// set of roots resets it. Main thread only.
class FileTreeModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Role { UrlRole = Qt::UserRole + 1, IsDirectoryRole, IsRootRole };

    explicit FileTreeModel(QObject *parent = nullptr);

    void setRoots(const QList<FileNodePtr> &roots);
    const QList<FileNodePtr> &roots() const { return m_roots; }

    const FileNode *node(const QModelIndex &index) const;
    bool isRoot(const QModelIndex &index) const;

    QModelIndex index(int row, int column, const QModelIndex &parent = {}) const override;
    QModelIndex parent(const QModelIndex &child) const override;
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    bool hasChildren(const QModelIndex &parent = {}) const override;
    bool canFetchMore(const QModelIndex &parent) const override;
    void fetchMore(const QModelIndex &parent) override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    struct Place {
        const FileNode *parent = nullptr; // null for a root
        int row = 0;
    };
    const QList<FileNodePtr> *shownChildren(const FileNode *node) const;

    QList<FileNodePtr> m_roots;
    QHash<const FileNode *, Place> m_places;
    // The entries of the folders the view has asked for; a folder not in here
    // reports no rows yet, even when its node read them for someone else.
    QHash<const FileNode *, QList<FileNodePtr>> m_children;
};
