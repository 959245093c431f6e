#include "workspace/filenode.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

// A folder of empty files; names ending in "/" are folders, "a -> b" a link.
QString makeTree(const QTemporaryDir &dir, const QStringList &entries)
{
    for (const QString &entry : entries) {
        if (entry.contains(" -> ")) {
            EXPECT_TRUE(QFile::link(dir.filePath(entry.section(" -> ", 1)), dir.filePath(entry.section(" -> ", 0, 0))));
        } else if (entry.endsWith('/')) {
            QDir(dir.path()).mkpath(entry);
        } else {
            EXPECT_TRUE(QFile(dir.filePath(entry)).open(QIODevice::WriteOnly)) << entry.toStdString();
        }
    }
    return dir.path();
}

// "folder/, file" as text, so a failure prints readable names.
QString names(const QList<FileNodePtr> &nodes)
{
    QStringList result;
    for (const FileNodePtr &node : nodes) {
        result << node->name() + (node->isDirectory() ? "/" : "");
    }
    return result.join(", ");
}

} // namespace

TEST(FileNode, FoldersFirstThenFilesByNameInTheUsersLocaleWithoutHiddenEntries)
{
    const std::pair<QStringList, QString> rows[] = {
        {{"b.nc", "A.nc", "z/"}, "z/, A.nc, b.nc"},
        {{"a2.nc", "B1.nc", "a1.NC", "Zeta", "alpha", "old/", "Archive/", "1-roughing/"},
         "1-roughing/, Archive/, old/, a1.NC, a2.nc, alpha, B1.nc, Zeta"},
        {{".git/", ".DS_Store", ".hidden.nc", "O1000", "notes.txt", "fixture.png"}, "fixture.png, notes.txt, O1000"},
        // By code point "Á" would come after "z".
        {{"zeta.nc", "Ángulo.nc", "bravo.nc", "apoyo.nc"}, "Ángulo.nc, apoyo.nc, bravo.nc, zeta.nc"},
        // Links to folders are folders; broken links are listed.
        {{"shared/", "linked -> shared", "broken -> nowhere"}, "linked/, shared/, broken"},
    };
    const QLocale old;
    QLocale::setDefault(QLocale(QLocale::Spanish, QLocale::Spain));
    for (const auto &[entries, expected] : rows) {
        QTemporaryDir dir;
        EXPECT_EQ(names(FileNode::contents(QUrl::fromLocalFile(makeTree(dir, entries)))), expected);
    }
    QLocale::setDefault(old);
}

TEST(FileNode, FoldersReadTheirChildrenOnceOnFirstAccessAndIdentityIsTheUrl)
{
    QTemporaryDir dir;
    makeTree(dir, {"jobs/2025/", "jobs/old.nc", "jobs/2025/part.nc"});
    const FileNode root(QUrl::fromLocalFile(dir.path()), true);
    EXPECT_FALSE(root.hasLoadedChildren());
    const QList<FileNodePtr> top = root.children().value();
    EXPECT_TRUE(root.hasLoadedChildren());
    ASSERT_EQ(names(top), "jobs/");
    const FileNodePtr jobs = top.first();
    EXPECT_EQ(jobs->url(), QUrl::fromLocalFile(dir.filePath("jobs")));
    EXPECT_FALSE(jobs->hasLoadedChildren()); // not read until asked
    const QList<FileNodePtr> inJobs = jobs->children().value();
    EXPECT_EQ(names(inJobs), "2025/, old.nc");
    EXPECT_EQ(names(inJobs.first()->children().value()), "part.nc");
    EXPECT_FALSE(inJobs.last()->children().has_value()); // a file has none
    // Renamed on disk after expanding: the tree keeps the old name until rebuilt.
    ASSERT_TRUE(QFile::rename(dir.filePath("jobs/old.nc"), dir.filePath("jobs/new.nc")));
    EXPECT_EQ(names(jobs->children().value()), "2025/, old.nc");
    EXPECT_EQ(names(FileNode(jobs->url(), true).children().value()), "2025/, new.nc");

    const FileNode fresh(QUrl::fromLocalFile(dir.path()), true);
    EXPECT_TRUE(root == fresh);
    EXPECT_EQ(qHash(root), qHash(fresh));
    EXPECT_FALSE(root == FileNode(jobs->url(), true));
    EXPECT_EQ(QSet<FileNode>({root, fresh}).size(), 1);

    // A folder that is gone before it is expanded stays empty after it comes back.
    const FileNode missing(QUrl::fromLocalFile(dir.filePath("gone")), true);
    EXPECT_TRUE(FileNode::contents(missing.url()).isEmpty());
    EXPECT_EQ(missing.children(), std::optional<QList<FileNodePtr>>(QList<FileNodePtr>{}));
    makeTree(dir, {"gone/", "gone/a.nc"});
    EXPECT_TRUE(missing.children().value().isEmpty());
}
