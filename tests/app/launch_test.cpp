// Launch-mode choice and the hand-over of files to a running varn-edit.
#include "launchmode.h"
#include "singleinstance.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TEST(LaunchMode, SelfTestWinsAndOnlyExactLightLightensACapture)
{
    const struct {
        QStringList environment;
        LaunchMode::Kind kind;
        AppearanceMode appearance;
    } cases[] = {
        {{}, LaunchMode::Kind::interactive, AppearanceMode::dark},
        {{"VARN_SELFTEST="}, LaunchMode::Kind::selfTest, AppearanceMode::dark},
        {{"VARN_SELFTEST=", "VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=light"}, LaunchMode::Kind::selfTest,
         AppearanceMode::dark},
        {{"VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=light"}, LaunchMode::Kind::capture, AppearanceMode::light},
        {{"VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=Light"}, LaunchMode::Kind::capture, AppearanceMode::dark},
        {{"VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=dark"}, LaunchMode::Kind::capture, AppearanceMode::dark},
        {{"VARN_SHOT=/tmp/a.png"}, LaunchMode::Kind::capture, AppearanceMode::dark},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.environment.join(' ').toStdString());
        QProcessEnvironment environment;
        for (const QString &entry : c.environment) {
            const qsizetype eq = entry.indexOf('=');
            environment.insert(entry.left(eq), entry.mid(eq + 1));
        }
        const LaunchMode mode = LaunchMode::fromEnvironment(environment);
        EXPECT_EQ(mode.kind, c.kind);
        if (mode.kind == LaunchMode::Kind::capture) {
            EXPECT_EQ(mode.captureAppearance, c.appearance);
            EXPECT_EQ(mode.capturePath, QStringLiteral("/tmp/a.png"));
        }
    }
}

TEST(SingleInstance, ASecondRunHandsItsFilesToTheFirst)
{
    QTemporaryDir dir;
    const QString name = dir.filePath(QStringLiteral("varn.socket"));
    SingleInstance second(name);
    EXPECT_FALSE(second.handOver({QUrl::fromLocalFile("/x.nc")}, 200)) << "nobody runs yet";

    SingleInstance first(name);
    ASSERT_TRUE(first.listen());
    QSignalSpy received(&first, &SingleInstance::filesReceived);
    const QList<QUrl> files = {QUrl::fromLocalFile(QStringLiteral("/p/a b.nc")),
                               QUrl::fromLocalFile(QStringLiteral("/p/ñ.nc"))};
    ASSERT_TRUE(second.handOver(files));
    QDeadlineTimer deadline(5000);
    while (received.isEmpty() && !deadline.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    ASSERT_EQ(received.size(), 1);
    EXPECT_EQ(received[0][0].value<QList<QUrl>>(), files);
}

TEST(SingleInstance, ASocketLeftByACrashedRunIsTakenOver)
{
    QTemporaryDir dir;
    const QString name = dir.filePath(QStringLiteral("varn.socket"));
    {
        SingleInstance crashed(name);
        ASSERT_TRUE(crashed.listen());
    }
    // A crash leaves the file behind; QLocalServer removes it on a clean close,
    // so stage one by hand.
    QFile stale(name);
    if (!stale.exists()) {
        ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
        stale.close();
    }
    SingleInstance next(name);
    EXPECT_FALSE(next.handOver({}, 200));
    EXPECT_TRUE(next.listen());
    SingleInstance late(name);
    EXPECT_FALSE(late.listen()) << "a live instance's socket is never taken";
}

} // namespace
