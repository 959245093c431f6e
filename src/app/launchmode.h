#pragma once

#include "base/appearancemode.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

// How this run of varn-edit starts, read from the environment once at launch.
// The self-test wins over everything (presence alone, even empty); a capture
// (VARN_SHOT = output path) forces its appearance: "light" exactly gives
// light, anything else or nothing gives dark. Otherwise the run is interactive.
struct LaunchMode {
    enum class Kind { selfTest, capture, interactive };

    Kind kind = Kind::interactive;
    QString capturePath;
    AppearanceMode captureAppearance = AppearanceMode::dark;

    static LaunchMode fromEnvironment(const QProcessEnvironment &environment);

    // Whether a window has nowhere to go: the Qt platform chosen (by
    // QT_QPA_PLATFORM or "-platform" in `arguments`, else the desktop's own)
    // needs an X or Wayland display and the environment names none. Qt would
    // abort; the launcher says so in one line and exits with status 2 instead.
    // Platforms that draw without one (offscreen, minimal, vnc, a framebuffer)
    // never lack it.
    static bool lacksDisplay(const QProcessEnvironment &environment, const QStringList &arguments);
};
