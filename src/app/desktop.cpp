// Stand-in until the main window exists: it runs the model's start-up so the
// launch path is exercised end to end, says on stderr that there is no window
// yet, and ends. The window replaces this file.
#include "desktop.h"

#include "workspace/appmodel.h"

#include <QApplication>

#include <cstdio>

int runDesktop(QApplication &app, AppModel &model, const LaunchMode &launch)
{
    Q_UNUSED(launch);
    model.bootstrap();
    app.processEvents();
    std::fprintf(stderr, "varn-edit: the main window is not built yet (%d document(s) open)\n",
                 int(model.documents().size()));
    return 0;
}
