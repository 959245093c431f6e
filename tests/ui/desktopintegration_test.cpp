// What `cmake --install` puts on the desktop: the launcher, the icon and the
// NC program file type, checked where they land.
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

namespace {

class InstalledDesktopFiles : public ::testing::Test {
protected:
    void SetUp() override
    {
        const QString cmake = QStandardPaths::findExecutable("cmake");
        if (cmake.isEmpty()) {
            GTEST_SKIP() << "cmake is not on the PATH";
        }
        QProcess install;
        install.start(cmake, {"--install", VARN_BINARY_DIR, "--prefix", prefix.path(), "--component", "desktop"});
        ASSERT_TRUE(install.waitForFinished(60000));
        ASSERT_EQ(install.exitCode(), 0) << install.readAllStandardError().toStdString();
    }
    QString installed(const QString &relative) const { return prefix.path() + "/share/" + relative; }

    QTemporaryDir prefix;
};

} // namespace

TEST_F(InstalledDesktopFiles, LauncherIconAndProgramTypeAreInPlaceAndTheLauncherValidates)
{
    const QString entry = installed("applications/varn-edit.desktop");
    ASSERT_TRUE(QFile::exists(entry));
    EXPECT_TRUE(QFile::exists(installed("icons/hicolor/scalable/apps/varn-edit.svg")));

    QFile file(entry);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n');
    EXPECT_TRUE(lines.contains("Exec=varn-edit %F"));
    EXPECT_TRUE(lines.contains("Icon=varn-edit"));
    EXPECT_TRUE(lines.contains("MimeType=text/x-nc-program;"));

    QFile mime(installed("mime/packages/varn-edit.xml"));
    ASSERT_TRUE(mime.open(QIODevice::ReadOnly));
    QXmlStreamReader xml(&mime);
    QString type;
    QStringList globs;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == QLatin1String("mime-type")) {
            type = xml.attributes().value("type").toString();
        } else if (xml.name() == QLatin1String("glob")) {
            globs << xml.attributes().value("pattern").toString();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(type, "text/x-nc-program");
    EXPECT_EQ(globs, (QStringList{"*.nc", "*.ngc", "*.tap", "*.cnc", "*.eia", "*.mpf"})) << "never *.txt";

    const QString validator = QStandardPaths::findExecutable("desktop-file-validate");
    if (validator.isEmpty()) {
        GTEST_SKIP() << "desktop-file-validate is not installed";
    }
    QProcess validate;
    validate.start(validator, {entry});
    ASSERT_TRUE(validate.waitForFinished(30000));
    EXPECT_EQ(validate.exitCode(), 0);
    EXPECT_EQ(validate.readAllStandardOutput().trimmed(), "") << "no warnings either";
}
