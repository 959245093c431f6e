#pragma once

#include "transport/parmrkdecoder.h"
#include "transport/serialtransport.h"

#include <QString>

#include <chrono>
#include <functional>
#include <mutex>

// The termios transport: one serial device, opened and configured from the line
// settings, written with flow control and a stall limit, drained, closed; or
// read from, with the characters the line damaged marked as such.
//
// Threading: one thread (the transfer's) makes the blocking calls in order;
// interrupt() may come from any thread at any time. Only the interrupted flag is
// shared, under a mutex held for the single read or write.
//
// Failures come back as a TransportError; nothing here closes the port on its
// own after a failed write or drain (the caller does).
class PosixSerialTransport final : public SerialTransport {
public:
    using OutputPendingQuery = std::function<int(int fd)>;

    // The limits default to what the product uses; tests pass short ones. The
    // output-queue query is a parameter because a pty always reports 0.
    explicit PosixSerialTransport(QString devicePath,
                                  std::chrono::milliseconds stallLimit = std::chrono::seconds(30),
                                  std::chrono::milliseconds drainLimit = std::chrono::seconds(120),
                                  OutputPendingQuery outputPending = defaultOutputPending(),
                                  std::chrono::milliseconds pollInterval = std::chrono::milliseconds(150),
                                  std::chrono::milliseconds drainPoll = std::chrono::milliseconds(50),
                                  std::chrono::milliseconds settle = std::chrono::milliseconds(300));
    ~PosixSerialTransport() override;

    PosixSerialTransport(const PosixSerialTransport &) = delete;
    PosixSerialTransport &operator=(const PosixSerialTransport &) = delete;

    std::optional<TransportError> open(const SerialLineSettings &settings) override;
    std::optional<TransportError> write(const QByteArray &bytes) override;
    std::optional<TransportError> drain(bool dripFeed) override;
    void close() override;
    void interrupt() override;
    // Waits in slices of the poll interval, so an interruption ends it within
    // one slice. With `markErrors` in the line settings, the driver's marks are
    // decoded into error offsets.
    std::optional<TransportError> read(ReceivedBytes &into, std::chrono::milliseconds timeout) override;
    // With XON/XOFF on, the line discipline swallows the machine's DC1 as flow
    // control, so the line listens without it until the DC1 and is then set
    // back exactly as opened.
    std::optional<TransportError> waitForXon(const SerialLineSettings &settings) override;

    const QString &devicePath() const { return m_devicePath; }
    bool isOpen() const { return m_fd >= 0; }

    static OutputPendingQuery defaultOutputPending();

private:
    bool interrupted() const;

    const QString m_devicePath;
    const std::chrono::milliseconds m_stallLimit;
    const std::chrono::milliseconds m_drainLimit;
    const OutputPendingQuery m_outputPending;
    const std::chrono::milliseconds m_pollInterval;
    const std::chrono::milliseconds m_drainPoll;
    const std::chrono::milliseconds m_settle;

    int m_fd = -1;
    bool m_dripFeed = false;
    bool m_markErrors = false;
    ParmrkDecoder m_decoder;

    mutable std::mutex m_lock;
    bool m_interrupted = false; // guarded by m_lock
};
