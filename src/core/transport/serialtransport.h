#pragma once

#include "base/seriallinesettings.h"
#include "transport/transporterror.h"

#include <QByteArray>
#include <QList>

#include <chrono>
#include <optional>

// Bytes that came from the machine, with the offsets (into `bytes`) of the
// characters the line received with a parity or framing error. A transport that
// cannot tell reports none; it never drops such a character.
struct ReceivedBytes {
    QByteArray bytes;
    QList<qsizetype> errorOffsets;
};

// Moves a prepared program to a machine over one serial device. The calls block
// the calling (transfer) thread; interrupt() may be called from any other thread
// and makes a blocked write or drain end with `cancelled` within about 150 ms.
// An empty result means success.
class SerialTransport {
public:
    virtual ~SerialTransport() = default;

    // Opens and configures the device; clears an earlier interruption. A failed
    // open leaves the transport closed.
    virtual std::optional<TransportError> open(const SerialLineSettings &settings) = 0;
    // Sends every byte of the buffer.
    virtual std::optional<TransportError> write(const QByteArray &bytes) = 0;
    // Returns once the output has left the computer.
    virtual std::optional<TransportError> drain(bool dripFeed) = 0;
    // Releases the device; calling it twice is harmless. Never fails.
    virtual void close() = 0;
    // Cancellation of the running transfer; sticky until the next open.
    virtual void interrupt() = 0;
    // Appends what the machine sent within `timeout` (possibly nothing) to
    // `into`. Returns `cancelled` once interrupted, and an error when the line
    // is gone. A transport that only sends says so.
    virtual std::optional<TransportError> read(ReceivedBytes &into, std::chrono::milliseconds timeout)
    {
        (void)into;
        (void)timeout;
        return TransportError::notConnected();
    }
    // Blocks on an open port until the machine sends DC1 (XON), the way some
    // controls say they are ready for a program; whatever else arrives first is
    // dropped. No time limit: only interrupt() or a lost line ends the wait.
    // `settings` are the ones the port was opened with, for a transport that
    // must set the line differently while it listens.
    virtual std::optional<TransportError> waitForXon(const SerialLineSettings &settings)
    {
        (void)settings;
        for (;;) {
            ReceivedBytes got;
            if (auto error = read(got, std::chrono::milliseconds(100))) {
                return error;
            }
            if (got.bytes.contains('\x11')) {
                return std::nullopt;
            }
        }
    }
};
