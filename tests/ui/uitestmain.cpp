// The widget tests start here: a QApplication (offscreen when no display is
// set) and a private HOME/XDG tree so no test ever touches the user's real
// settings or data.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char **argv)
{
    QTemporaryDir home(QDir::tempPath() + "/varn-test-home-XXXXXX");
    const QByteArray root = home.path().toUtf8();
    for (const char *sub : {"", "/.config", "/.local/share", "/.cache", "/runtime"}) {
        QDir().mkpath(QString::fromUtf8(root + sub));
    }
    setenv("HOME", root.constData(), 1);
    setenv("XDG_CONFIG_HOME", (root + "/.config").constData(), 1);
    setenv("XDG_DATA_HOME", (root + "/.local/share").constData(), 1);
    setenv("XDG_CACHE_HOME", (root + "/.cache").constData(), 1);
    setenv("XDG_RUNTIME_DIR", (root + "/runtime").constData(), 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QFile::setPermissions(QString::fromUtf8(root + "/runtime"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);

    QApplication app(argc, argv);
    QApplication::setOrganizationName("VarnEdit");
    QApplication::setApplicationName("VarnEdit");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
