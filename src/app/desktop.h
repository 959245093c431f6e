#pragma once

#include "launchmode.h"

class AppModel;
class QApplication;

// Where the launcher hands over to the window: show the main window for
// `model` (whose first appearance runs `model.bootstrap()`), stage a capture
// when `launch` asks for one, and run the event loop until the last window
// closes. Returns the exit status.
int runDesktop(QApplication &app, AppModel &model, const LaunchMode &launch);
