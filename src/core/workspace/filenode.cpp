#include "filenode.h"

#include <QCollator>
#include <QDir>
#include <QFileInfo>
#include <QHash>

#include <vector>

#include <algorithm>
FileNode::FileNode(QUrl url, bool isDirectory) : m_url(std::move(url)), m_isDirectory(isDirectory) {}

std::optional<QList<FileNodePtr>> FileNode::children() const
{
    if (!m_isDirectory) {
        return std::nullopt;
    }
    if (!m_loadedChildren) {
        m_loadedChildren = contents(m_url);
    }
    return m_loadedChildren;
}

QList<FileNodePtr> FileNode::contents(const QUrl &folder)
{
    // System takes in sockets, fifos and broken links: they are there, so
    // they are listed. Hidden is left out, and the explicit dot check below
    // keeps it so should the platform's idea of hidden ever differ.
    const QDir dir(folder.toLocalFile());
    const QFileInfoList entries =
        dir.entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);

    struct Entry {
        QString name;
        FileNodePtr node;
    };
    std::vector<Entry> visible;
    visible.reserve(size_t(entries.size()));
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (name.startsWith(QLatin1Char('.'))) {
            continue;
        }
        visible.push_back({name, std::make_shared<FileNode>(QUrl::fromLocalFile(entry.filePath()), entry.isDir())});
    }

    QCollator collator; // the user's locale
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::stable_sort(visible.begin(), visible.end(), [&](const Entry &a, const Entry &b) {
        if (a.node->isDirectory() != b.node->isDirectory()) {
            return a.node->isDirectory();
        }
        return collator.compare(a.name, b.name) < 0;
    });

    QList<FileNodePtr> nodes;
    nodes.reserve(qsizetype(visible.size()));
    for (Entry &entry : visible) {
        nodes.append(std::move(entry.node));
    }
    return nodes;
}

size_t qHash(const FileNode &node, size_t seed)
{
    return qHash(node.url(), seed);
}
