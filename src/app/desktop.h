#pragma once

#include "launchmode.h"

class AppModel;
class QApplication;

// A capture waits this long after launch, so loads and the analysis staged by
// VARN_OPEN and VARN_INSPECTOR have reached the screen.
inline constexpr int captureDelayMs = 2200;

// Where the launcher hands over to the window: show the main window for
// `model` (whose first appearance runs `model.bootstrap()`), stage a capture
// when `launch` asks for one, and run the event loop until the last window
// closes. Returns the exit status.
int runDesktop(QApplication &app, AppModel &model, const LaunchMode &launch);
