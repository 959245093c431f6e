#include "workspace/externalfileopencoordinator.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

QUrl file(const char *path)
{
    return QUrl::fromLocalFile(QString::fromUtf8(path));
}

} // namespace

TEST(ExternalFileOpenCoordinator, CollectsFilesOnceEachUntilAModelConnectsThenForwardsEveryOne)
{
    ExternalFileOpenCoordinator coordinator;
    coordinator.enqueue({file("/p/b.nc"), QUrl("https://example.com/x.nc"), file("/p/a.nc")});
    coordinator.enqueue({file("/p/./sub/../b.nc"), file("/p/c.nc")}); // the same b.nc, written another way
    auto model = std::make_unique<QObject>();
    QList<QUrl> opened;
    QList<qsizetype> pendingSeen;
    coordinator.connect(model.get(), [&](const QUrl &url) {
        pendingSeen << coordinator.pendingUrls().size();
        opened << url;
        if (url == file("/p/a.nc")) {
            coordinator.enqueue({file("/p/from-inside.nc")}); // goes straight to the model
        }
    });
    EXPECT_TRUE(coordinator.isConnected());
    EXPECT_EQ(opened, (QList<QUrl>{file("/p/b.nc"), file("/p/a.nc"), file("/p/from-inside.nc"), file("/p/c.nc")}));
    EXPECT_EQ(pendingSeen, (QList<qsizetype>{0, 0, 0, 0})) << "the queue is emptied before the model opens";

    // Twice the same file while connected: the model decides what that means.
    coordinator.enqueue({file("/p/d.nc"), file("/p/d.nc"), QUrl("mailto:someone@example.com")});
    EXPECT_EQ(opened.mid(4), (QList<QUrl>{file("/p/d.nc"), file("/p/d.nc")}));

    model.reset(); // the model is gone: its open function must not be called
    EXPECT_FALSE(coordinator.isConnected());
    coordinator.enqueue({file("/p/late.nc"), file("/p/late.nc")});
    EXPECT_EQ(opened.size(), 6);
    EXPECT_EQ(coordinator.pendingUrls(), QList<QUrl>{file("/p/late.nc")});
}
