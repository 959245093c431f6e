#include "programanalysis.h"

#include <cmath>

std::optional<QString> ProgramAnalysis::estimatedTimeText() const
{
    if (!estimatedSeconds || !(*estimatedSeconds > 0)) {
        return std::nullopt;
    }
    // std::round takes halves away from zero, which is how the time is shown.
    const double rounded = std::round(*estimatedSeconds);
    if (!std::isfinite(rounded)) {
        return std::nullopt; // only absurd coordinates get here; no clock shows infinity
    }
    if (rounded >= 0x1p53) {
        // Past exact integers the parts still come out right through fmod.
        return QString::number(std::floor(rounded / 3600), 'f', 0) +
               QString::asprintf(":%02d:%02d", int(std::fmod(rounded, 3600) / 60), int(std::fmod(rounded, 60)));
    }
    const auto s = static_cast<long long>(rounded);
    if (s < 3600) {
        return QString::asprintf("%lld:%02lld", s / 60, s % 60);
    }
    return QString::asprintf("%lld:%02lld:%02lld", s / 3600, (s % 3600) / 60, s % 60);
}
