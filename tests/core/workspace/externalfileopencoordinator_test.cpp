#include "workspace/externalfileopencoordinator.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

QUrl file(const char *path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

std::string show(const QList<QUrl> &urls)
{
    QStringList paths;
    for (const QUrl &url : urls) {
        paths << url.toString();
    }
    return paths.join(" | ").toStdString();
}

// Stands in for the application model: records what it is asked to open.
struct FakeModel {
    std::unique_ptr<QObject> object = std::make_unique<QObject>();
    QList<QUrl> opened;

    void connectTo(ExternalFileOpenCoordinator &coordinator)
    {
        coordinator.connect(object.get(), [this](const QUrl &url) { opened << url; });
    }
};

} // namespace

TEST(ExternalFileOpenCoordinator, CollectsFilesOnceEachUntilAModelConnects)
{
    ExternalFileOpenCoordinator coordinator;
    coordinator.enqueue({file("/p/b.nc"), QUrl("https://example.com/x.nc"), file("/p/a.nc")});
    coordinator.enqueue({file("/p/./sub/../b.nc"), file("/p/c.nc")}); // the same b.nc, written another way
    coordinator.enqueue({});
    EXPECT_FALSE(coordinator.isConnected());
    EXPECT_EQ(show(coordinator.pendingUrls()), show({file("/p/b.nc"), file("/p/a.nc"), file("/p/c.nc")}));

    FakeModel model;
    model.connectTo(coordinator);
    EXPECT_TRUE(coordinator.isConnected());
    EXPECT_EQ(show(model.opened), show({file("/p/b.nc"), file("/p/a.nc"), file("/p/c.nc")}));
    EXPECT_TRUE(coordinator.pendingUrls().isEmpty());
}

TEST(ExternalFileOpenCoordinator, ForwardsEveryFileWhileTheModelLivesThenCollectsAgain)
{
    ExternalFileOpenCoordinator coordinator;
    auto model = std::make_unique<FakeModel>();
    model->connectTo(coordinator);
    EXPECT_TRUE(model->opened.isEmpty()); // nothing was waiting

    // Twice the same file: the model decides what that means.
    coordinator.enqueue({file("/p/a.nc"), file("/p/a.nc")});
    coordinator.enqueue({QUrl("mailto:someone@example.com")});
    EXPECT_EQ(show(model->opened), show({file("/p/a.nc"), file("/p/a.nc")}));
    EXPECT_TRUE(coordinator.pendingUrls().isEmpty());

    model.reset(); // the model is gone: its open function must not be called
    EXPECT_FALSE(coordinator.isConnected());
    coordinator.enqueue({file("/p/late.nc"), file("/p/late.nc")});
    EXPECT_EQ(show(coordinator.pendingUrls()), show({file("/p/late.nc")}));

    FakeModel next;
    next.connectTo(coordinator);
    EXPECT_EQ(show(next.opened), show({file("/p/late.nc")}));
}

TEST(ExternalFileOpenCoordinator, QueueIsEmptiedBeforeTheModelOpensItsFiles)
{
    ExternalFileOpenCoordinator coordinator;
    coordinator.enqueue({file("/p/a.nc"), file("/p/b.nc")});
    QObject model;
    QList<QUrl> opened;
    QList<qsizetype> pendingSeen;
    coordinator.connect(&model, [&](const QUrl &url) {
        pendingSeen << coordinator.pendingUrls().size();
        opened << url;
        if (url == file("/p/a.nc")) {
            coordinator.enqueue({file("/p/from-inside.nc")}); // goes straight to the model
        }
    });
    EXPECT_EQ(show(opened), show({file("/p/a.nc"), file("/p/from-inside.nc"), file("/p/b.nc")}));
    EXPECT_EQ(pendingSeen, (QList<qsizetype>{0, 0, 0}));
}
