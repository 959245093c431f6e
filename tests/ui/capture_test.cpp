#include "windowfixture.h"

#include "window/windowcapture.h"

#include <QElapsedTimer>
#include <QImage>
#include <QProcess>
#include <QSet>

TEST(CaptureSize, TheHeightVariableSetsTheWidth)
{
    const std::pair<std::optional<QString>, int> cases[] = {
        {QStringLiteral("600"), 900},   {QStringLiteral("1400"), 1400}, {std::nullopt, 1180},
        {QStringLiteral("abc"), 1180},  {QStringLiteral(""), 1180},     {QStringLiteral(" 1400"), 1180},
        {QStringLiteral("1400 "), 1180}, {QStringLiteral("1.2e3"), 1200}, {QStringLiteral("-5"), 900},
        {QStringLiteral("1400px"), 1180}, {QStringLiteral("inf"), 1180},
    };
    for (const auto &[value, width] : cases) {
        EXPECT_EQ(WindowCapture::captureSize(value), QSize(width, 740)) << value.value_or("(unset)").toStdString();
    }
}

TEST(CaptureWindow, TheLargestVisibleWindowWiderThan300)
{
    QWidget narrowTall, small, large, equal, hiddenHuge;
    narrowTall.resize(300, 2000);
    small.resize(400, 400);
    large.resize(800, 600);
    equal.resize(600, 800);
    hiddenHuge.resize(2000, 2000);
    for (QWidget *w : {&narrowTall, &small, &large, &equal}) {
        w->show();
    }
    EXPECT_EQ(WindowCapture::chooseWindow({&narrowTall, &hiddenHuge, &small, &large, &equal}), &large);
    EXPECT_EQ(WindowCapture::chooseWindow({&equal, &large}), &equal) << "first of equal areas";
    EXPECT_EQ(WindowCapture::chooseWindow({&narrowTall, &hiddenHuge}), nullptr);
}

TEST_F(MainWindowTest, CaptureWritesTheWholeWindowAsPng)
{
    window->resize(WindowCapture::captureSize(std::nullopt));
    QCoreApplication::processEvents();
    const QString file = path(QStringLiteral("shot.png"));
    ASSERT_TRUE(WindowCapture::writePng(window.get(), file));
    const QImage image(file);
    ASSERT_EQ(image.size() / image.devicePixelRatio(), QSize(1180, 740));
    QSet<QRgb> colours;
    for (int y = 0; y < image.height(); y += 7) {
        for (int x = 0; x < image.width(); x += 7) {
            colours.insert(image.pixel(x, y));
        }
    }
    EXPECT_GT(colours.size(), 20) << "menus, bar and editor leave more than a blank";
    EXPECT_FALSE(WindowCapture::writePng(window.get(), path(QStringLiteral("missing/shot.png"))));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("missing/shot.png"))));
}

// The program itself: forced light look, no display, the delay, the size and the exit status.
TEST(CaptureRun, VarnEditWritesThePngAndQuits)
{
    const QString program = QStringLiteral(VARN_BINARY_DIR "/varn-edit");
    if (!QFile::exists(program)) {
        GTEST_SKIP() << "varn-edit is not built";
    }
    QTemporaryDir dir;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "VARN_SELFTEST"}) {
        environment.remove(QLatin1String(name));
    }
    environment.insert(QStringLiteral("HOME"), dir.path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral("config")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), dir.filePath(QStringLiteral("data")));
    environment.insert(QStringLiteral("VARN_SHOT"), dir.filePath(QStringLiteral("shot.png")));
    environment.insert(QStringLiteral("VARN_SHOT_MODE"), QStringLiteral("light"));
    environment.insert(QStringLiteral("VARN_SHOT_HEIGHT"), QStringLiteral("1400"));
    QProcess run;
    run.setProcessEnvironment(environment);
    QElapsedTimer clock;
    clock.start();
    run.start(program, {});
    ASSERT_TRUE(run.waitForFinished(20000));
    EXPECT_GE(clock.elapsed(), 2200);
    EXPECT_EQ(run.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(run.exitCode(), 0);
    const QImage image(dir.filePath(QStringLiteral("shot.png")));
    EXPECT_EQ(image.size(), QSize(1400, 740));
    EXPECT_GT(qGray(image.pixel(700, 400)), 200) << "light appearance: a white editor";
}
