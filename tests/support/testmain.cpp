// Every test executable starts here: an application object for the event loop
// (a QApplication, offscreen unless told otherwise, for the widget tests) and a
// private HOME/XDG tree, so no test ever touches the user's real settings or data.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>

#ifdef VARN_TEST_WIDGETS
#include <QApplication>
using TestApplication = QApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif

int main(int argc, char **argv)
{
    QTemporaryDir home(QDir::tempPath() + "/varn-test-home-XXXXXX");
    const QByteArray root = home.path().toUtf8();
    const std::pair<const char *, const char *> folders[] = {{"HOME", ""},
                                                             {"XDG_CONFIG_HOME", "/.config"},
                                                             {"XDG_DATA_HOME", "/.local/share"},
                                                             {"XDG_CACHE_HOME", "/.cache"},
                                                             {"XDG_RUNTIME_DIR", "/runtime"}};
    for (const auto &[name, sub] : folders) {
        QDir().mkpath(QString::fromUtf8(root + sub));
        qputenv(name, root + sub);
    }
    QFile::setPermissions(root + "/runtime",
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
#ifdef VARN_TEST_WIDGETS
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
#endif
    TestApplication app(argc, argv);
    TestApplication::setOrganizationName("VarnEdit");
    TestApplication::setApplicationName("VarnEdit");
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
