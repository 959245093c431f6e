#include "filetreemodel.h"

#include <QApplication>
#include <QStyle>

FileTreeModel::FileTreeModel(QObject *parent) : QAbstractItemModel(parent) {}

void FileTreeModel::setRoots(const QList<FileNodePtr> &roots)
{
    beginResetModel();
    m_roots = roots;
    m_places.clear();
    m_children.clear();
    for (int row = 0; row < m_roots.size(); ++row) {
        m_places.insert(m_roots[row].get(), {nullptr, row});
    }
    endResetModel();
}

const FileNode *FileTreeModel::node(const QModelIndex &index) const
{
    return index.isValid() ? static_cast<const FileNode *>(index.internalPointer()) : nullptr;
}

bool FileTreeModel::isRoot(const QModelIndex &index) const
{
    return index.isValid() && !index.parent().isValid();
}

const QList<FileNodePtr> *FileTreeModel::shownChildren(const FileNode *node) const
{
    if (!node) {
        return &m_roots;
    }
    const auto found = m_children.constFind(node);
    return found == m_children.cend() ? nullptr : &*found;
}

QModelIndex FileTreeModel::index(int row, int column, const QModelIndex &parent) const
{
    const QList<FileNodePtr> *children = shownChildren(node(parent));
    if (!children || column != 0 || row < 0 || row >= children->size()) {
        return {};
    }
    return createIndex(row, 0, children->at(row).get());
}

QModelIndex FileTreeModel::parent(const QModelIndex &child) const
{
    const FileNode *item = node(child);
    if (!item) {
        return {};
    }
    const FileNode *parentNode = m_places.value(item).parent;
    if (!parentNode) {
        return {};
    }
    return createIndex(m_places.value(parentNode).row, 0, const_cast<FileNode *>(parentNode));
}

int FileTreeModel::rowCount(const QModelIndex &parent) const
{
    if (parent.column() > 0) {
        return 0;
    }
    const QList<FileNodePtr> *children = shownChildren(node(parent));
    return children ? int(children->size()) : 0;
}

int FileTreeModel::columnCount(const QModelIndex &) const
{
    return 1;
}

bool FileTreeModel::hasChildren(const QModelIndex &parent) const
{
    const FileNode *item = node(parent);
    if (!item) {
        return !m_roots.isEmpty();
    }
    if (!item->isDirectory()) {
        return false;
    }
    // Before the first expansion a folder might hold anything; once read, an
    // empty folder loses its arrow.
    const QList<FileNodePtr> *children = shownChildren(item);
    return !children || !children->isEmpty();
}

bool FileTreeModel::canFetchMore(const QModelIndex &parent) const
{
    const FileNode *item = node(parent);
    return item && item->isDirectory() && !m_children.contains(item);
}

void FileTreeModel::fetchMore(const QModelIndex &parent)
{
    const FileNode *item = node(parent);
    if (!canFetchMore(parent)) {
        return;
    }
    const QList<FileNodePtr> entries = item->children().value_or(QList<FileNodePtr>{});
    if (entries.isEmpty()) {
        m_children.insert(item, {});
        // The arrow goes away: tell the view the folder changed.
        emit dataChanged(parent, parent);
        return;
    }
    beginInsertRows(parent, 0, int(entries.size()) - 1);
    for (int row = 0; row < entries.size(); ++row) {
        m_places.insert(entries[row].get(), {item, row});
    }
    m_children.insert(item, entries);
    endInsertRows();
}

QVariant FileTreeModel::data(const QModelIndex &index, int role) const
{
    const FileNode *item = node(index);
    if (!item) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return item->name();
    case Qt::ToolTipRole:
        return item->url().toLocalFile();
    case Qt::DecorationRole:
        return QApplication::style()->standardIcon(item->isDirectory() ? QStyle::SP_DirIcon : QStyle::SP_FileIcon);
    case UrlRole:
        return item->url();
    case IsDirectoryRole:
        return item->isDirectory();
    case IsRootRole:
        return isRoot(index);
    default:
        return {};
    }
}
