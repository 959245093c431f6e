#pragma once

#include "base/l10n.h"

#include <QMetaType>
#include <QString>

#include <optional>
#include <span>

// What the send panel shows of the current (or last) transfer. A plain value;
// the controller replaces it as the sender's events arrive.
struct TransferState {
    enum class Status { idle, connecting, sending, finishing, success, error, cancelled };

    Status status = Status::idle;
    QString fileName;
    QString machineName;
    QString endpointName;
    qint64 bytesSent = 0;
    qint64 totalBytes = 0;
    QString message;

    bool operator==(const TransferState &) const = default;

    static std::span<const Status> allStatuses();
    static QString rawValue(Status status);
    static std::optional<Status> statusFromRawValue(const QString &raw);
    static QString label(Status status, AppLanguage language);
    // connecting, sending and finishing: a transfer is running.
    static bool isActive(Status status);

    bool isActive() const { return isActive(status); }
    // 0 to 100. An empty payload reads 100 once it succeeded and 0 before.
    int percent() const;
    // "12 KB of 48 KB"; empty while the size is unknown or zero.
    QString progressLabel(AppLanguage language) const;

    // A byte count the way file sizes are shown: "600 bytes", "12 KB",
    // "1.5 MB" (decimal units), numbers in the language's locale.
    static QString formatByteCount(qint64 bytes, AppLanguage language);
};

Q_DECLARE_METATYPE(TransferState)
