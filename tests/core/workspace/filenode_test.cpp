#include "workspace/filenode.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

void touch(const QString &path)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
}

// "folder/, file" as text, so a failure prints readable names.
std::string names(const QList<FileNodePtr> &nodes)
{
    QStringList result;
    for (const FileNodePtr &node : nodes) {
        result << node->name() + (node->isDirectory() ? "/" : "");
    }
    return result.join(", ").toStdString();
}

// The user's locale for the length of a test.
class LocaleGuard {
public:
    explicit LocaleGuard(const QLocale &locale) { QLocale::setDefault(locale); }
    ~LocaleGuard() { QLocale::setDefault(m_old); }

private:
    QLocale m_old;
};

} // namespace

TEST(FileNode, FoldersFirstThenFilesByNameIgnoringCase)
{
    QTemporaryDir dir;
    touch(dir.filePath("b.nc"));
    touch(dir.filePath("A.nc"));
    QDir(dir.path()).mkdir("z");
    EXPECT_EQ(names(FileNode::contents(QUrl::fromLocalFile(dir.path()))), "z/, A.nc, b.nc");

    QTemporaryDir more;
    for (const char *file : {"a2.nc", "B1.nc", "a1.NC", "Zeta", "alpha"}) {
        touch(more.filePath(file));
    }
    for (const char *folder : {"old", "Archive", "1-roughing"}) {
        QDir(more.path()).mkdir(folder);
    }
    EXPECT_EQ(names(FileNode::contents(QUrl::fromLocalFile(more.path()))),
              "1-roughing/, Archive/, old/, a1.NC, a2.nc, alpha, B1.nc, Zeta");
}

TEST(FileNode, SortFollowsTheLocaleNotTheCodePoints)
{
    QTemporaryDir dir;
    for (const char *file : {"zeta.nc", "Ángulo.nc", "bravo.nc", "apoyo.nc"}) {
        touch(dir.filePath(QString::fromUtf8(file)));
    }
    const LocaleGuard spanish(QLocale(QLocale::Spanish, QLocale::Spain));
    // By code point "Á" would come after "z".
    EXPECT_EQ(names(FileNode::contents(QUrl::fromLocalFile(dir.path()))),
              "Ángulo.nc, apoyo.nc, bravo.nc, zeta.nc");
}

TEST(FileNode, HiddenEntriesNeverAppearAndEveryOtherFileDoes)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkdir(".git");
    touch(dir.filePath(".DS_Store"));
    touch(dir.filePath(".hidden.nc"));
    touch(dir.filePath("O1000"));
    touch(dir.filePath("notes.txt"));
    touch(dir.filePath("fixture.png"));
    EXPECT_EQ(names(FileNode::contents(QUrl::fromLocalFile(dir.path()))),
              "fixture.png, notes.txt, O1000");
}

TEST(FileNode, FilesHaveNoChildrenAndFoldersReadTheirsOnceOnFirstAccess)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkpath("jobs/2025");
    touch(dir.filePath("jobs/old.nc"));
    touch(dir.filePath("jobs/2025/part.nc"));

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

    const FileNodePtr file = inJobs.last();
    EXPECT_FALSE(file->children().has_value());
    EXPECT_FALSE(file->hasLoadedChildren());

    // Renamed on disk after expanding: the tree keeps the old name until rebuilt.
    ASSERT_TRUE(QFile::rename(dir.filePath("jobs/old.nc"), dir.filePath("jobs/new.nc")));
    EXPECT_EQ(names(jobs->children().value()), "2025/, old.nc");
    const FileNode rebuilt(QUrl::fromLocalFile(dir.filePath("jobs")), true);
    EXPECT_EQ(names(rebuilt.children().value()), "2025/, new.nc");
}

TEST(FileNode, UnreadableOrMissingFolderIsEmpty)
{
    QTemporaryDir dir;
    EXPECT_TRUE(FileNode::contents(QUrl::fromLocalFile(dir.filePath("gone"))).isEmpty());
    const FileNode missing(QUrl::fromLocalFile(dir.filePath("gone")), true);
    EXPECT_EQ(missing.children(), std::optional<QList<FileNodePtr>>(QList<FileNodePtr>{}));

    // A folder that is gone before it is expanded stays empty after it comes back.
    QDir(dir.path()).mkdir("gone");
    touch(dir.filePath("gone/a.nc"));
    EXPECT_TRUE(missing.children().value().isEmpty());
}

TEST(FileNode, LinksToFoldersAreFoldersAndBrokenLinksAreListed)
{
    QTemporaryDir dir;
    QDir(dir.path()).mkdir("shared");
    touch(dir.filePath("shared/p.nc"));
    QDir(dir.path()).mkdir("tree");
    ASSERT_TRUE(QFile::link(dir.filePath("shared"), dir.filePath("tree/linked")));
    ASSERT_TRUE(QFile::link(dir.filePath("nowhere"), dir.filePath("tree/broken")));
    const QList<FileNodePtr> nodes = FileNode::contents(QUrl::fromLocalFile(dir.filePath("tree")));
    ASSERT_EQ(names(nodes), "linked/, broken");
    EXPECT_EQ(names(nodes.first()->children().value()), "p.nc");
}

TEST(FileNode, IdentityIsTheUrl)
{
    QTemporaryDir dir;
    touch(dir.filePath("a.nc"));
    const QUrl url = QUrl::fromLocalFile(dir.path());
    const FileNode loaded(url, true);
    (void)loaded.children();
    const FileNode fresh(url, true);
    EXPECT_TRUE(loaded == fresh);
    EXPECT_EQ(qHash(loaded), qHash(fresh));
    EXPECT_FALSE(loaded == FileNode(QUrl::fromLocalFile(dir.filePath("a.nc")), false));

    const QSet<FileNode> set{loaded, fresh};
    EXPECT_EQ(set.size(), 1);
}
