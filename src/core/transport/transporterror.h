#pragma once

#include "base/l10n.h"

#include <QString>

// A failure on the sending side. It carries everything its user text needs, so
// the sender, the controller, the window and `varn` all show the same words.
struct TransportError {
    enum class Kind {
        connectionFailed,
        openFailed,
        configurationFailed,
        writeFailed,
        notConnected,
        waitFailed,
        receiveTimeout,
        drainTimeout,
        cancelled,
        readFailed,
    };

    Kind kind = Kind::notConnected;
    QString path;        // openFailed: the device path
    QString message;     // connectionFailed/openFailed/configurationFailed/writeFailed/readFailed: the system's text
    int systemError = 0; // errno behind the failure, 0 when none

    static TransportError connectionFailed(const QString &message);
    static TransportError openFailed(const QString &path, const QString &message, int systemError = 0);
    static TransportError configurationFailed(const QString &message, int systemError = 0);
    static TransportError writeFailed(const QString &message, int systemError = 0);
    static TransportError readFailed(const QString &message, int systemError = 0);
    static TransportError notConnected() { return {Kind::notConnected, {}, {}, 0}; }
    static TransportError waitFailed() { return {Kind::waitFailed, {}, {}, 0}; }
    static TransportError receiveTimeout() { return {Kind::receiveTimeout, {}, {}, 0}; }
    static TransportError drainTimeout() { return {Kind::drainTimeout, {}, {}, 0}; }
    static TransportError cancelled() { return {Kind::cancelled, {}, {}, 0}; }

    // The user text in the interface language.
    QString description(AppLanguage language) const;
    // A second line for an open that the system refused for lack of permission
    // (the user is not in the dialout group); empty otherwise.
    QString hint(AppLanguage language) const;
    // The same line, decided after the fact from the device itself: it exists
    // but this user may not read and write it. Views that only kept the failed
    // transfer's text use this.
    static QString accessHint(const QString &devicePath, AppLanguage language);

    bool operator==(const TransportError &) const = default;
};
