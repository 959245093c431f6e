#pragma once

#include <QSize>
#include <QString>
#include <QWidgetList>

#include <optional>

// Screenshots without a person at the keyboard: the largest visible window is
// set to the capture size, rendered with everything in it (menu bar, action
// bar, tabs, editor, panels) into a PNG file, and the program quits.
//
// The size comes from VARN_SHOT_HEIGHT. Despite its name the value sets the
// width, at least 900 px; the height is always 740. A value that is not
// entirely a decimal number (spaces count against it) gives the usual 1180.
//
// Capturing reports nothing: a file that cannot be written is simply not
// there, and the program quits either way.
class WindowCapture {
public:
    static constexpr int height = 740;
    static constexpr int minimumWidth = 900;
    static constexpr double defaultWidth = 1180;
    // No real screen is this wide; larger values would only exhaust memory.
    static constexpr int maximumWidth = 8192;
    static constexpr int settleMs = 500;

    // The window size for VARN_SHOT_HEIGHT's value (none: the variable is unset).
    static QSize captureSize(const std::optional<QString> &heightValue);
    // The visible window wider than 300 px with the largest area; the first
    // of equals wins. Null when none qualifies.
    static QWidget *chooseWindow(const QWidgetList &windows);
    // Renders `window` as it is now and writes it to `path` as PNG.
    static bool writePng(QWidget *window, const QString &path);
    // The whole sequence: choose, resize, let it settle, write, quit.
    static void captureAndExit(const QString &path);
};
