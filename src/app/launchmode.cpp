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

bool LaunchMode::lacksDisplay(const QProcessEnvironment &environment, const QStringList &arguments)
{
    QString platform = environment.value(QStringLiteral("QT_QPA_PLATFORM"));
    for (qsizetype i = 1; i + 1 < arguments.size(); ++i) {
        if (arguments[i] == QLatin1String("-platform") || arguments[i] == QLatin1String("--platform")) {
            platform = arguments[i + 1];
        }
    }
    // "xcb:wayland" style lists and "offscreen:fontengine=..." options: the name comes first.
    platform = platform.section(QLatin1Char(':'), 0, 0).section(QLatin1Char(';'), 0, 0).trimmed();
    const bool hasX = !environment.value(QStringLiteral("DISPLAY")).isEmpty();
    const bool hasWayland = !environment.value(QStringLiteral("WAYLAND_DISPLAY")).isEmpty();
    if (platform.isEmpty()) {
        return !hasX && !hasWayland;
    }
    if (platform == QLatin1String("xcb")) {
        return !hasX;
    }
    if (platform.startsWith(QLatin1String("wayland"))) {
        return !hasWayland;
    }
    return false;
}
