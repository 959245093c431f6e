#pragma once

#include "base/appearancemode.h"

#include <QProcessEnvironment>
#include <QString>

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
};
