// What `cmake --install` puts on the desktop: the launcher, the icon and the
// NC program file type, checked where they land.
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(InstalledDesktopFiles, LauncherIconAndProgramTypeAreInPlaceAndTheLauncherValidates)
{
    const QString cmake = QStandardPaths::findExecutable("cmake");
    const QString validator = QStandardPaths::findExecutable("desktop-file-validate");
    if (cmake.isEmpty() || validator.isEmpty()) {
        GTEST_SKIP() << "cmake or desktop-file-validate is not installed";
    }
    QTemporaryDir prefix;
    QProcess install;
    install.start(cmake, {"--install", VARN_BINARY_DIR, "--prefix", prefix.path(), "--component", "desktop"});
    ASSERT_TRUE(install.waitForFinished(60000));
    ASSERT_EQ(install.exitCode(), 0) << install.readAllStandardError().toStdString();
    const auto read = [&](const QString &file) {
        QFile in(prefix.path() + "/share/" + file);
        EXPECT_TRUE(in.open(QIODevice::ReadOnly)) << file.toStdString();
        return QString::fromUtf8(in.readAll());
    };
    EXPECT_TRUE(read("icons/hicolor/scalable/apps/varn-edit.svg").contains("<svg"));
    const QStringList entry = read("applications/varn-edit.desktop").split('\n');
    for (const char *line : {"Exec=varn-edit %F", "Icon=varn-edit", "MimeType=text/x-nc-program;"}) {
        EXPECT_TRUE(entry.contains(line)) << line;
    }
    const QString mime = read("mime/packages/varn-edit.xml");
    EXPECT_TRUE(mime.contains("<mime-type type=\"text/x-nc-program\">"));
    for (const char *glob : {"*.nc", "*.ngc", "*.tap", "*.cnc", "*.eia", "*.mpf"}) {
        EXPECT_TRUE(mime.contains(QStringLiteral("<glob pattern=\"%1\"").arg(glob))) << glob;
    }
    EXPECT_FALSE(mime.contains("*.txt")) << "a .txt file stays text";

    QProcess validate;
    validate.start(validator, {prefix.path() + "/share/applications/varn-edit.desktop"});
    ASSERT_TRUE(validate.waitForFinished(30000));
    EXPECT_EQ(validate.exitCode(), 0);
    EXPECT_EQ(validate.readAllStandardOutput().trimmed(), "") << "no warnings either";
}
