#include "posixserialtransport.h"

#include "cserial.h"

#include <cerrno>
#include <cstring>
#include <thread>

namespace {

// strerror_r comes in two flavours (GNU returns the text, XSI fills the buffer);
// the overloads pick whichever the C library declared.
[[maybe_unused]] const char *errorText(int result, const char *buffer)
{
    return result == 0 ? buffer : "Unknown error";
}
[[maybe_unused]] const char *errorText(const char *result, const char *)
{
    return result;
}

QString systemErrorText(int code)
{
    char buffer[256] = {};
    return QString::fromLocal8Bit(errorText(strerror_r(code, buffer, sizeof buffer), buffer));
}

} // namespace

PosixSerialTransport::PosixSerialTransport(QString devicePath, std::chrono::milliseconds stallLimit,
                                           std::chrono::milliseconds drainLimit,
                                           OutputPendingQuery outputPending,
                                           std::chrono::milliseconds pollInterval,
                                           std::chrono::milliseconds drainPoll,
                                           std::chrono::milliseconds settle)
    : m_devicePath(std::move(devicePath)), m_stallLimit(stallLimit), m_drainLimit(drainLimit),
      m_outputPending(outputPending ? std::move(outputPending) : defaultOutputPending()),
      m_pollInterval(pollInterval), m_drainPoll(drainPoll), m_settle(settle)
{
}

PosixSerialTransport::~PosixSerialTransport()
{
    close();
}

PosixSerialTransport::OutputPendingQuery PosixSerialTransport::defaultOutputPending()
{
    return [](int fd) { return cserial_output_pending(fd); };
}

std::optional<TransportError> PosixSerialTransport::open(const SerialLineSettings &settings)
{
    m_dripFeed = settings.dripFeed;
    {
        std::lock_guard guard(m_lock);
        m_interrupted = false;
    }
    // Reopening without a close would leak the old descriptor.
    close();

    const QByteArray path = m_devicePath.toLocal8Bit();
    const int fd = cserial_open(path.constData());
    if (fd < 0) {
        const int code = errno;
        return TransportError::openFailed(m_devicePath, systemErrorText(code), code);
    }
    if (cserial_configure(fd, settings.baudRate, settings.dataBits, settings.parity, settings.stopBits,
                          settings.flowControl, settings.dtr, settings.rts) < 0) {
        const int code = errno;
        cserial_close(fd);
        return TransportError::configurationFailed(systemErrorText(code), code);
    }
    // Best effort: where the driver refuses, the port diagnostics tell the user
    // which sysfs file to change instead.
    cserial_set_low_latency(fd);
    m_fd = fd;
    return std::nullopt;
}

std::optional<TransportError> PosixSerialTransport::write(const QByteArray &bytes)
{
    if (m_fd < 0) {
        return TransportError::notConnected();
    }
    const char *data = bytes.constData();
    const qsizetype total = bytes.size();
    qsizetype offset = 0;
    const int pollMs = static_cast<int>(m_pollInterval.count());

    while (offset < total) {
        // Only an unbroken stall counts: every accepted byte starts the clock again.
        std::chrono::milliseconds stalled{0};
        for (;;) {
            if (interrupted()) {
                return TransportError::cancelled();
            }
            errno = 0;
            const ssize_t written = cserial_write(m_fd, data + offset, static_cast<size_t>(total - offset));
            if (written > 0) {
                offset += written;
                break;
            }
            if (written < 0) {
                const int code = errno;
                if (code == EINTR) {
                    continue;
                }
                if (code != EAGAIN && code != EWOULDBLOCK) {
                    return TransportError::writeFailed(systemErrorText(code), code);
                }
            }

            // The driver is full: the machine is slow, or holds the line (XOFF, CTS low).
            errno = 0;
            const int ready = cserial_wait_writable(m_fd, pollMs);
            if (ready < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return TransportError::waitFailed();
            }
            if (ready > 0) {
                continue;
            }
            if (interrupted()) {
                return TransportError::cancelled();
            }
            // The machine may hold the line for minutes in drip feed; only a cancel ends the wait.
            if (m_dripFeed) {
                continue;
            }
            stalled += m_pollInterval;
            if (stalled > m_stallLimit) {
                return TransportError::receiveTimeout();
            }
        }
    }
    return std::nullopt;
}

std::optional<TransportError> PosixSerialTransport::drain(bool dripFeed)
{
    if (m_fd < 0) {
        return std::nullopt;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + m_drainLimit;
    if (interrupted()) {
        return TransportError::cancelled();
    }
    for (;;) {
        if (m_outputPending(m_fd) < 1) {
            // The driver is empty, but the adapter still holds its last characters.
            std::this_thread::sleep_for(m_settle);
            return std::nullopt;
        }
        if (!dripFeed && Clock::now() > deadline) {
            return TransportError::drainTimeout();
        }
        std::this_thread::sleep_for(m_drainPoll);
        if (interrupted()) {
            return TransportError::cancelled();
        }
    }
}

void PosixSerialTransport::close()
{
    if (m_fd >= 0) {
        cserial_close(m_fd);
        m_fd = -1;
    }
}

void PosixSerialTransport::interrupt()
{
    std::lock_guard guard(m_lock);
    m_interrupted = true;
}

bool PosixSerialTransport::interrupted() const
{
    std::lock_guard guard(m_lock);
    return m_interrupted;
}
