#pragma once

#include <QString>

#include <optional>

// How the window looks: follow the desktop, or force light or dark. The raw
// value is what the settings store under "varn.appearance".
enum class AppearanceMode { system, light, dark };

namespace AppearanceModes {
inline constexpr AppearanceMode allCases[] = {AppearanceMode::system, AppearanceMode::light, AppearanceMode::dark};

inline QString rawValue(AppearanceMode mode)
{
    switch (mode) {
    case AppearanceMode::light:
        return QStringLiteral("light");
    case AppearanceMode::dark:
        return QStringLiteral("dark");
    case AppearanceMode::system:
        break;
    }
    return QStringLiteral("system");
}

// Exact, case-sensitive; anything else is no mode.
inline std::optional<AppearanceMode> fromRawValue(const QString &raw)
{
    for (AppearanceMode mode : allCases) {
        if (raw == rawValue(mode)) {
            return mode;
        }
    }
    return std::nullopt;
}
} // namespace AppearanceModes
