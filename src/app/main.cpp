// varn-edit: chooses the launch mode and hands over to the self-test or the window.
#include "desktop.h"
#include "launchmode.h"
#include "singleinstance.h"

#include "workspace/appmodel.h"
#include "workspace/externalfileopencoordinator.h"
#include "workspace/selftest.h"

#include <QApplication>
#include <QFileInfo>
#include <QSettings>
#include <QTextStream>

#include <cstdio>

namespace {

// Files named on the command line, as the desktop hands them over when the
// user opens a program with us. Options (anything starting with "-") are Qt's.
QList<QUrl> commandLineFiles(const QStringList &arguments)
{
    QList<QUrl> files;
    for (const QString &argument : arguments.mid(1)) {
        if (!argument.startsWith(QLatin1Char('-'))) {
            files.append(QUrl::fromLocalFile(QFileInfo(argument).absoluteFilePath()));
        }
    }
    return files;
}

QStringList commandLineWords(int argc, char **argv)
{
    QStringList words;
    for (int i = 0; i < argc; ++i) {
        words.append(QString::fromLocal8Bit(argv[i]));
    }
    return words;
}

// In the language the window would have spoken; the settings are read the
// way the model reads them, without an application object.
void reportNoDisplay()
{
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("VarnEdit"),
                             QStringLiteral("VarnEdit"));
    AppLanguage language = AppLanguage::english;
    AppLanguages::fromRawValue(settings.value(QStringLiteral("varn.language")).toString(), &language);
    const QString line = L10n::text("varn-edit: no display to open a window on (DISPLAY and WAYLAND_DISPLAY are "
                                    "unset). Run VARN_SELFTEST=1 varn-edit for the self-test, or use the "
                                    "command-line tool varn (varn --help).",
                                    language);
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stderr);
}

} // namespace

int main(int argc, char **argv)
{
    const LaunchMode launch = LaunchMode::fromEnvironment(QProcessEnvironment::systemEnvironment());
    if (launch.kind == LaunchMode::Kind::selfTest) {
        // No application object and no display: a build is checked on any machine.
        QTextStream out(stdout);
        SelfTest::run(out);
        return 0;
    }

    if (launch.kind == LaunchMode::Kind::interactive &&
        LaunchMode::lacksDisplay(QProcessEnvironment::systemEnvironment(), commandLineWords(argc, argv))) {
        reportNoDisplay();
        return 2;
    }
    // A capture needs no screen: without a display it renders off-screen.
    if (launch.kind == LaunchMode::Kind::capture && !qEnvironmentVariableIsSet("QT_QPA_PLATFORM") &&
        qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("VarnEdit"));
    QApplication::setApplicationName(QStringLiteral("VarnEdit"));
    QApplication::setApplicationDisplayName(QStringLiteral("VARN Edit"));

    const QList<QUrl> files = commandLineFiles(QApplication::arguments());
    // A capture is a one-off run of its own; it never joins or becomes the running instance.
    SingleInstance instance;
    if (launch.kind == LaunchMode::Kind::interactive) {
        if (instance.handOver(files)) {
            return 0;
        }
        instance.listen();
        QObject::connect(&instance, &SingleInstance::filesReceived,
                         [](const QList<QUrl> &received) { ExternalFileOpenCoordinator::shared().enqueue(received); });
    }
    ExternalFileOpenCoordinator::shared().enqueue(files);

    AppModel model;
    return runDesktop(app, model, launch);
}
