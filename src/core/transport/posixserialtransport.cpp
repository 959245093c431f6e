#include "posixserialtransport.h"

#include "cserial.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
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
    if (settings.markErrors && cserial_mark_errors(fd) < 0) {
        const int code = errno;
        cserial_close(fd);
        return TransportError::configurationFailed(systemErrorText(code), code);
    }
    m_markErrors = settings.markErrors;
    m_decoder.reset();
    // Best effort: where the driver refuses, the port diagnostics tell the user
    // which sysfs file to change instead.
    cserial_set_low_latency(fd);
    m_fd = fd;
    return std::nullopt;
}

std::optional<TransportError> PosixSerialTransport::read(ReceivedBytes &into, std::chrono::milliseconds timeout)
{
    if (m_fd < 0) {
        return TransportError::notConnected();
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + timeout;
    // Large enough that a 100 MB program costs a few thousand calls, small
    // enough to stay in the cache.
    constexpr size_t chunk = 64 * 1024;
    char buffer[chunk];
    constexpr qsizetype kBurstLimit = 1024 * 1024;
    const qsizetype before = into.bytes.size();
    bool gotAny = false;
    for (;;) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        // Drain what the driver holds before waiting again: one poll per burst.
        const ssize_t got = cserial_read(m_fd, buffer, chunk);
        if (got > 0) {
            if (m_markErrors) {
                m_decoder.decode(buffer, got, into);
            } else {
                into.bytes.append(buffer, got);
            }
            gotAny = true;
            // The line discipline hands over a few KB per read; taking what is
            // already queued now spares a return and a poll per piece.
            if (into.bytes.size() - before < kBurstLimit) {
                continue;
            }
            return std::nullopt;
        }
        if (got < 0) {
            const int code = errno;
            if (code == EINTR) {
                continue;
            }
            if (code != EAGAIN && code != EWOULDBLOCK) {
                // What arrived before the line went is handed over first; the
                // next call reports the failure.
                return gotAny ? std::nullopt
                              : std::optional(TransportError::readFailed(systemErrorText(code), code));
            }
        } else if (got == 0) {
            // End of file on a tty: the other side hung up.
            return gotAny ? std::nullopt : std::optional(TransportError::readFailed(systemErrorText(EIO), EIO));
        }
        if (gotAny) {
            return std::nullopt;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        errno = 0;
        const int ready = cserial_wait_readable(m_fd, static_cast<int>(std::min(left, m_pollInterval).count()));
        if (ready < 0) {
            const int code = errno;
            if (code == EINTR) {
                continue;
            }
            return TransportError::readFailed(systemErrorText(code ? code : EIO), code ? code : EIO);
        }
    }
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

std::optional<TransportError> PosixSerialTransport::waitForXon(const SerialLineSettings &settings)
{
    if (m_fd < 0) {
        return TransportError::notConnected();
    }
    constexpr int noFlowControl = 0;
    constexpr int xonXoff = 1;
    auto configure = [this](const SerialLineSettings &line) -> std::optional<TransportError> {
        if (cserial_configure(m_fd, line.baudRate, line.dataBits, line.parity, line.stopBits, line.flowControl,
                              line.dtr, line.rts) < 0) {
            const int code = errno;
            return TransportError::configurationFailed(systemErrorText(code), code);
        }
        return std::nullopt;
    };
    const bool swallowsXon = settings.flowControl == xonXoff;
    if (swallowsXon) {
        SerialLineSettings listening = settings;
        listening.flowControl = noFlowControl;
        if (auto error = configure(listening)) {
            return error;
        }
    }
    const int pollMs = static_cast<int>(m_pollInterval.count());
    for (;;) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        pollfd watch{m_fd, POLLIN, 0};
        const int ready = ::poll(&watch, 1, pollMs);
        if (ready < 0 && errno == EINTR) {
            continue;
        }
        if (ready < 0 || (watch.revents & (POLLERR | POLLHUP | POLLNVAL))) {
            return TransportError::waitFailed();
        }
        if (ready == 0) {
            continue;
        }
        char buffer[256];
        const ssize_t got = ::read(m_fd, buffer, sizeof buffer);
        if (got < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)) {
            continue;
        }
        if (got <= 0) {
            return TransportError::waitFailed();
        }
        if (std::memchr(buffer, 0x11, size_t(got)) != nullptr) {
            break;
        }
    }
    return swallowsXon ? configure(settings) : std::nullopt;
}
