#pragma once

#include <QList>
#include <QUrl>

#include <memory>
#include <optional>

class FileNode;
using FileNodePtr = std::shared_ptr<FileNode>;

// One file or folder of a sidebar tree. A folder reads its entries the first
// time its children are asked for and then keeps them for its whole life, so
// expanding a large folder touches the disk once and collapsing it costs
// nothing. Changes on disk show only when the roots are rebuilt.
//
// Listing rules: every entry whose name does not begin with a dot, whatever
// its extension; folders first, then files, each by name compared without
// case in the user's locale (the listing order breaks ties, so the tree does
// not reshuffle between rebuilds). A symbolic link to a folder is a folder:
// people link their shared program folders into their home, and expect to
// open them. An unreadable folder is simply empty; nothing is reported.
//
// A node is identified by its URL: two nodes for the same entry are equal
// whether or not either has loaded its children. Main thread only.
class FileNode {
public:
    FileNode(QUrl url, bool isDirectory);

    const QUrl &url() const { return m_url; }
    bool isDirectory() const { return m_isDirectory; }
    QString name() const { return m_url.fileName(); }

    // None for a file; for a folder the sorted entries, read on first access.
    std::optional<QList<FileNodePtr>> children() const;
    bool hasLoadedChildren() const { return m_loadedChildren.has_value(); }

    // The sorted entries of `folder`; empty when it cannot be listed.
    static QList<FileNodePtr> contents(const QUrl &folder);

    bool operator==(const FileNode &other) const { return m_url == other.m_url; }

private:
    QUrl m_url;
    bool m_isDirectory = false;
    mutable std::optional<QList<FileNodePtr>> m_loadedChildren;
};

size_t qHash(const FileNode &node, size_t seed = 0);
