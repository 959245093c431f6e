#include "transferstate.h"

#include <QLocale>

#include <algorithm>
#include <cmath>

namespace {

constexpr TransferState::Status kStatuses[] = {
    TransferState::Status::idle,    TransferState::Status::connecting, TransferState::Status::sending,
    TransferState::Status::finishing, TransferState::Status::success, TransferState::Status::error,
    TransferState::Status::cancelled,
};

QLocale localeFor(AppLanguage language)
{
    return QLocale(AppLanguages::localeName(language));
}

} // namespace

std::span<const TransferState::Status> TransferState::allStatuses()
{
    return kStatuses;
}

QString TransferState::rawValue(Status status)
{
    switch (status) {
    case Status::idle:
        return QStringLiteral("idle");
    case Status::connecting:
        return QStringLiteral("connecting");
    case Status::sending:
        return QStringLiteral("sending");
    case Status::finishing:
        return QStringLiteral("finishing");
    case Status::success:
        return QStringLiteral("success");
    case Status::error:
        return QStringLiteral("error");
    case Status::cancelled:
        return QStringLiteral("cancelled");
    }
    return {};
}

std::optional<TransferState::Status> TransferState::statusFromRawValue(const QString &raw)
{
    for (Status status : kStatuses) {
        if (rawValue(status) == raw) {
            return status;
        }
    }
    return std::nullopt;
}

QString TransferState::label(Status status, AppLanguage language)
{
    switch (status) {
    case Status::idle:
        return L10n::text("Ready", language);
    case Status::connecting:
        return L10n::text("Connecting…", language);
    case Status::sending:
        return L10n::text("Sending…", language);
    case Status::finishing:
        return L10n::text("Finishing…", language);
    case Status::success:
        return L10n::text("Transfer Completed", language);
    case Status::error:
        return L10n::text("Error", language);
    case Status::cancelled:
        return L10n::text("Transfer Cancelled", language);
    }
    return {};
}

bool TransferState::isActive(Status status)
{
    return status == Status::connecting || status == Status::sending || status == Status::finishing;
}

int TransferState::percent() const
{
    if (totalBytes < 1) {
        return status == Status::success ? 100 : 0;
    }
    const double ratio = static_cast<double>(bytesSent) * 100.0 / static_cast<double>(totalBytes);
    return static_cast<int>(std::clamp(std::trunc(ratio), 0.0, 100.0));
}

QString TransferState::progressLabel(AppLanguage language) const
{
    if (totalBytes < 1) {
        return {};
    }
    return L10n::format("%@ of %@", language,
                        {formatByteCount(bytesSent, language), formatByteCount(totalBytes, language)});
}

QString TransferState::formatByteCount(qint64 bytes, AppLanguage language)
{
    const QLocale locale = localeFor(language);
    if (bytes > -1000 && bytes < 1000) {
        const QString number = locale.toString(bytes);
        return bytes == 1 ? L10n::format("%@ byte", language, {number})
                          : L10n::format("%@ bytes", language, {number});
    }
    // Decimal units as file sizes are shown, with more digits as the unit
    // grows: "12 KB", "1.5 MB", "2.25 GB".
    static const char *const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    static const int decimals[] = {0, 1, 2, 2, 2, 2};
    constexpr int unitCount = sizeof(units) / sizeof(units[0]);
    int unit = 0;
    double value = static_cast<double>(bytes) / 1000.0;
    for (;;) {
        const double scale = std::pow(10.0, decimals[unit]);
        const double rounded = std::round(value * scale) / scale;
        if (std::fabs(rounded) < 1000.0 || unit == unitCount - 1) {
            value = rounded;
            break;
        }
        value /= 1000.0;
        ++unit;
    }
    QString number = locale.toString(value, 'f', decimals[unit]);
    if (decimals[unit] > 0) {
        // "2 MB", not "2.0 MB".
        while (number.endsWith(QLatin1Char('0'))) {
            number.chop(1);
        }
        if (number.endsWith(locale.decimalPoint())) {
            number.chop(locale.decimalPoint().size());
        }
    }
    return number + QLatin1Char(' ') + QLatin1String(units[unit]);
}
