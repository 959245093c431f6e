#pragma once

#include <QMetaType>
#include <QString>

// One report of the sender, in the order things happen on the line. Every
// transfer ends with exactly one of finished, failed or cancelled, and the
// port is already closed when that last event is sent.
struct TransferEvent {
    enum class Kind {
        started,    // the port is open; `bytes` is the payload's total
        progress,   // a chunk was accepted; `bytes` sent so far
        finishing,  // everything handed over; `message` says what we wait for
        failed,     // `message` is the user text of the failure
        connecting, // the port is being opened
        finished,
        cancelled,
        waiting, // the port is open and the machine has yet to say it is ready; `message` says so
    };

    Kind kind = Kind::connecting;
    qint64 bytes = 0;
    QString message;

    static TransferEvent started(qint64 total) { return {Kind::started, total, {}}; }
    static TransferEvent progress(qint64 sent) { return {Kind::progress, sent, {}}; }
    static TransferEvent finishing(const QString &text) { return {Kind::finishing, 0, text}; }
    static TransferEvent failed(const QString &text) { return {Kind::failed, 0, text}; }
    static TransferEvent connecting() { return {Kind::connecting, 0, {}}; }
    static TransferEvent finished() { return {Kind::finished, 0, {}}; }
    static TransferEvent cancelled() { return {Kind::cancelled, 0, {}}; }
    static TransferEvent waiting(const QString &text) { return {Kind::waiting, 0, text}; }

    bool isFinal() const { return kind == Kind::finished || kind == Kind::failed || kind == Kind::cancelled; }

    bool operator==(const TransferEvent &) const = default;
};

Q_DECLARE_METATYPE(TransferEvent)
