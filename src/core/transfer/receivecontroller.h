#pragma once

#include "machines/machine.h"
#include "transfer/gcodereceiver.h"
#include "transfer/receivedprogram.h"
#include "transfer/transfercontroller.h"
#include "transfer/transferlog.h"
#include "base/l10n.h"

#include <QDateTime>
#include <QObject>
#include <QString>

#include <chrono>
#include <map>
#include <memory>
#include <thread>

// What the receive window shows of the current (or last) receive.
struct ReceiveState {
    enum class Status { idle, connecting, waiting, receiving, received, error, cancelled };

    Status status = Status::idle;
    QString machineName;
    QString endpointName;
    qint64 bytes = 0;       // of the program arriving, or of the last one received
    qint64 errors = 0;      // characters with a parity or framing error in it
    qint64 elapsedMs = 0;
    int programsSaved = 0;  // auto-receive: programs written to the folder so far
    QString lastSavedPath;  // auto-receive: the most recent of them
    QString message;

    bool operator==(const ReceiveState &) const = default;

    static QString label(Status status, AppLanguage language);
    // connecting, waiting and receiving: a receive is running.
    bool isActive() const
    {
        return status == Status::connecting || status == Status::waiting || status == Status::receiving;
    }
    // "12 KB, 2 errors, 0:41" in the language.
    QString summary(AppLanguage language) const;
};

Q_DECLARE_METATYPE(ReceiveState)

// Runs at most one receive at a time, on a thread of its own, and publishes it
// as a ReceiveState; each program that arrives is signalled as a value. In
// auto-receive the controller also saves every program into the folder (named
// by its O number, never overwriting) and keeps listening until cancelled.
//
// A cancel shows "Receive Cancelled" at once and drops whatever the cancelled
// receiver still reports. Failures end in `error` with their text; nothing
// here throws.
class ReceiveController : public QObject {
    Q_OBJECT
public:
    struct Request {
        Machine machine;
        QString devicePath;
        // The profile's idle time-out (rule 3); 5 s by default.
        // Zero: the machine profile's idle time.
        std::chrono::milliseconds idleTimeout{0};
        // Non-empty: auto-receive into this folder.
        QString autoReceiveFolder;
    };

    explicit ReceiveController(TransferController::TransportFactory factory = {}, QObject *parent = nullptr);
    ~ReceiveController() override;

    const ReceiveState &state() const { return m_state; }
    void setLanguage(AppLanguage language) { m_language = language; }
    // Shorter clocks for tests; the defaults are the product's.
    void setOptions(const GCodeReceiver::Options &options) { m_options = options; }
    // Every program received, and every receive that fails or is cancelled,
    // leaves a line in the transfer log.
    void setTransferLog(const TransferLog &log) { m_log = log; }

    // Opens the port and waits for the machine; ignored while a receive runs.
    void receive(const Request &request);
    void cancel();

signals:
    void stateChanged(const ReceiveState &state);
    // Every program as it completes; in auto-receive `savedPath` is where it
    // was written, and empty when writing failed (the program is then only here).
    void programReceived(std::shared_ptr<const ReceivedProgram> program, const QString &savedPath);

private:
    void apply(quint64 generation, const GCodeReceiver::Event &event);
    void setState(const ReceiveState &state);
    void log(const ReceiveState &state, const QString &file);

    TransferController::TransportFactory m_factory;
    GCodeReceiver::Options m_options;
    ReceiveState m_state;
    QString m_folder;
    AppLanguage m_language = AppLanguage::english;
    JobThreads m_jobs;
    TransferLog m_log;
    QString m_devicePath;
    QDateTime m_startedAt;
};
