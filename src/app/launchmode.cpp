#include "launchmode.h"

LaunchMode LaunchMode::fromEnvironment(const QProcessEnvironment &environment)
{
    LaunchMode mode;
    if (environment.contains(QStringLiteral("VARN_SELFTEST"))) {
        mode.kind = Kind::selfTest;
    } else if (environment.contains(QStringLiteral("VARN_SHOT"))) {
        mode.kind = Kind::capture;
        mode.capturePath = environment.value(QStringLiteral("VARN_SHOT"));
        mode.captureAppearance = environment.value(QStringLiteral("VARN_SHOT_MODE")) == QLatin1String("light")
                                     ? AppearanceMode::light
                                     : AppearanceMode::dark;
    }
    return mode;
}
