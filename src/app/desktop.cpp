// The interactive and capture runs: the main window over the model, and in a
// capture the forced appearance and the delayed screenshot.
#include "desktop.h"

#include "panels/filesidebar.h"
#include "panels/machinesettingsdialog.h"
#include "panels/preferencesdialog.h"
#include "panels/qtdialogs.h"
#include "panels/sendpanel.h"
#include "theme/appearance.h"
#include "window/mainwindow.h"
#include "window/windowcapture.h"

#include "workspace/appmodel.h"

#include <QApplication>
#include <QTimer>

int runDesktop(QApplication &app, AppModel &model, const LaunchMode &launch)
{
    MainWindow window(model);
    window.setSidebar(new FileSidebar(model, &window));
    window.setSendPanel(new SendPanel(model, &window));
    window.setMachineSettingsFactory([&model](QWidget *parent) { return new MachineSettingsDialog(model, parent); });
    window.setPreferencesFactory([&model](QWidget *parent) { return new PreferencesDialog(model, parent); });
    QtDialogs dialogs(&window);
    model.setDialogs(&dialogs);

    if (launch.kind == LaunchMode::Kind::capture) {
        // The model leaves the appearance alone while a capture is staged.
        if (launch.captureAppearance == AppearanceMode::light) {
            Appearance::applyLight();
        } else {
            Appearance::applyDark();
        }
        QTimer::singleShot(captureDelayMs, &app,
                           [path = launch.capturePath] { WindowCapture::captureAndExit(path); });
    }

    // Captures leave the Toolpath panel hidden, as the window starts, unless asked for.
    if (qEnvironmentVariable("VARN_TOOLPATH") == QLatin1String("1")) {
        window.setToolpathVisible(true);
    }
    window.show(); // its first appearance runs the model's start-up
    const int status = app.exec();
    model.setDialogs(nullptr);
    return status;
}
