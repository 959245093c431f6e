// Launch-mode choice and the hand-over of files to a running varn-edit.
#include "launchmode.h"
#include "singleinstance.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

TEST(LaunchMode, SelfTestWinsAndOnlyExactLightLightensACapture)
{
    using K = LaunchMode::Kind;
    const struct {
        QStringList environment;
        K kind;
        AppearanceMode appearance = AppearanceMode::dark;
    } cases[] = {
        {{}, K::interactive},
        {{"VARN_SELFTEST="}, K::selfTest},
        {{"VARN_SELFTEST=", "VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=light"}, K::selfTest},
        {{"VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=light"}, K::capture, AppearanceMode::light},
        {{"VARN_SHOT=/tmp/a.png", "VARN_SHOT_MODE=Light"}, K::capture},
        {{"VARN_SHOT=/tmp/a.png"}, K::capture},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.environment.join(' ').toStdString());
        QProcessEnvironment environment;
        for (const QString &entry : c.environment) {
            environment.insert(entry.section('=', 0, 0), entry.section('=', 1));
        }
        const LaunchMode mode = LaunchMode::fromEnvironment(environment);
        EXPECT_EQ(mode.kind, c.kind);
        if (mode.kind == K::capture) {
            EXPECT_EQ(mode.captureAppearance, c.appearance);
            EXPECT_EQ(mode.capturePath, QStringLiteral("/tmp/a.png"));
        }
    }
}

// Qt would abort without a display; the launcher says why and exits with 2.
TEST(LaunchMode, WithoutADisplayAWindowRunSaysSoInOneLineAndExitsWithTwo)
{
    const struct {
        QStringList environment;
        QStringList arguments;
        bool lacks;
    } cases[] = {
        {{}, {}, true},
        {{"DISPLAY=:0"}, {}, false},
        {{"WAYLAND_DISPLAY=wayland-0"}, {}, false},
        {{"QT_QPA_PLATFORM=xcb", "WAYLAND_DISPLAY=wayland-0"}, {}, true},
        {{"QT_QPA_PLATFORM=wayland-egl", "DISPLAY=:0"}, {}, true},
        {{"QT_QPA_PLATFORM=offscreen"}, {}, false},
        {{"QT_QPA_PLATFORM=minimal:enable_fonts"}, {}, false},
        {{}, {"-platform", "offscreen"}, false},
        {{"QT_QPA_PLATFORM=offscreen"}, {"-platform", "xcb"}, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE((c.environment + c.arguments).join(' ').toStdString());
        QProcessEnvironment environment;
        for (const QString &entry : c.environment) {
            environment.insert(entry.section('=', 0, 0), entry.section('=', 1));
        }
        EXPECT_EQ(LaunchMode::lacksDisplay(environment, QStringList{"varn-edit"} + c.arguments), c.lacks);
    }
    QTemporaryDir home;
    QProcess run;
    QProcessEnvironment bare;
    bare.insert("HOME", home.path());
    bare.insert("XDG_CONFIG_HOME", home.path());
    run.setProcessEnvironment(bare);
    run.start(QStringLiteral(VARN_BINARY_DIR "/varn-edit"), {});
    ASSERT_TRUE(run.waitForFinished(20000));
    EXPECT_EQ(run.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(run.exitCode(), 2);
    const QByteArray err = run.readAllStandardError();
    EXPECT_EQ(err.count('\n'), 1) << err.constData();
    EXPECT_TRUE(err.contains("VARN_SELFTEST=1 varn-edit") && err.contains("varn --help")) << err.constData();
}

TEST(SingleInstance, ASecondRunHandsItsFilesToTheFirstAndAStaleSocketIsTakenOver)
{
    QTemporaryDir dir;
    const QString name = dir.filePath(QStringLiteral("varn.socket"));
    QFile stale(name); // what a crashed run leaves behind
    ASSERT_TRUE(stale.open(QIODevice::WriteOnly));
    stale.close();
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
    EXPECT_FALSE(SingleInstance(name).listen()) << "a live instance's socket is never taken";
}

} // namespace
