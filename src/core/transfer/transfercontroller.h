#pragma once

#include "machines/machine.h"
#include "transfer/jobthreads.h"
#include "transfer/transferevent.h"
#include "transfer/transferlog.h"
#include "transfer/transferstate.h"
#include "transport/serialtransport.h"
#include "base/l10n.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <functional>
#include <map>
#include <memory>
#include <thread>

// Runs at most one transfer at a time and publishes it as a TransferState.
// Lives on the main thread; the sender runs on a thread of its own and its
// events come back here as queued calls, applied in the order they were sent.
//
// A cancel shows "Transfer Cancelled" at once; whatever the cancelled sender
// still reports afterwards belongs to a transfer nobody looks at any more and
// is dropped, as are the events of any transfer that is not the current one.
// Failures arrive as the sender's failed events; the controller stores their
// text and never raises anything itself.
class TransferController : public QObject {
    Q_OBJECT
public:
    // Makes the transport for one transfer from the device path.
    using TransportFactory = std::function<std::unique_ptr<SerialTransport>(const QString &devicePath)>;

    // Without a factory, transfers go through the transport the port's name
    // asks for: a network server for tcp:// and rfc2217://, termios otherwise.
    explicit TransferController(TransportFactory factory = {}, QObject *parent = nullptr);
    static std::unique_ptr<SerialTransport> makeSerialTransport(const QString &devicePath,
                                                                AppLanguage language = AppLanguage::english);
    // Stops a running transfer and waits for its thread (a fraction of a second).
    ~TransferController() override;

    const TransferState &state() const { return m_state; }
    AppLanguage language() const { return m_language; }
    // The language of every text the controller makes from now on.
    void setLanguage(AppLanguage language);

    // Starts sending `content` to the device at `devicePath`; ignored while a
    // transfer is active.
    void send(const QString &content, const QString &fileName, const Machine &machine, const QString &devicePath);
    // Cancels the active transfer; does nothing when none is active.
    void cancel();

    // Where each finished, failed or cancelled transfer is logged (one line).
    void setTransferLog(const TransferLog &log) { m_log = log; }
    const TransferLog &transferLog() const { return m_log; }

    // The device's short name: its last path component without one leading "cu.".
    static QString endpointName(const QString &devicePath);

signals:
    void stateChanged(const TransferState &state);
    void languageChanged(AppLanguage language);

private:
    void apply(quint64 generation, const TransferEvent &event);
    void setState(const TransferState &state);
    // Logs the transfer once it has ended; a log that cannot be written is
    // not the transfer's failure and is ignored.
    void logIfEnded();

    TransportFactory m_factory;
    TransferState m_state;
    AppLanguage m_language = AppLanguage::english;
    JobThreads m_jobs;

    TransferLog m_log;
    bool m_logPending = false;
    QDateTime m_startedAt;
    QElapsedTimer m_clock;
    QString m_devicePath;
};
