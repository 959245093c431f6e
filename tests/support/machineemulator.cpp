#include "machineemulator.h"

#include "ptypair.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr char kXoff = 0x13;
constexpr char kXon = 0x11;
constexpr qint64 kReadSize = 64 * 1024;
constexpr std::chrono::milliseconds kGraceQuiet{25}, kGraceMax{250};

using Clock = std::chrono::steady_clock;

bool sendControl(int fd, char c)
{
    ssize_t n = 0;
    do {
        n = ::write(fd, &c, 1);
    } while (n < 0 && errno == EINTR);
    return n == 1;
}

} // namespace

void MachineEmulator::start()
{
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { run(); });
    }
}

void MachineEmulator::stop()
{
    {
        std::lock_guard guard(m_mutex);
        m_stopRequested = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void MachineEmulator::releaseHold()
{
    std::lock_guard guard(m_mutex);
    m_releaseRequested = true;
}

void MachineEmulator::run()
{
    const Clock::time_point started = Clock::now();
    const double rate = m_options.bytesPerSecond;
    QByteArray buffer(kReadSize, Qt::Uninitialized);

    int nextHold = 0;
    Clock::time_point holdStarted;
    Clock::time_point lastInFlight;
    // Pacing: bytes allowed = rate x time since paceStart; reset after each hold so a
    // held line does not build up credit.
    Clock::time_point paceStart = started;
    qint64 pacedBytes = 0;

    for (;;) {
        const Clock::time_point now = Clock::now();
        const int fd = m_pty.masterFd();
        bool holding = false;
        bool graceOver = false;
        qint64 received = 0;
        {
            std::lock_guard guard(m_mutex);
            if (m_stopRequested || fd < 0 || now - started >= m_options.lifetime) {
                break;
            }
            received = m_received;

            if (!m_holding && nextHold < m_options.holds.size()) {
                if (received >= m_options.holds.at(nextHold).atByte && sendControl(fd, kXoff)) {
                    m_holding = true;
                    m_graceOver = false;
                    m_releaseRequested = false;
                    holdStarted = now;
                    lastInFlight = now;
                    m_changed.notify_all();
                }
            } else if (m_holding) {
                const Hold &hold = m_options.holds.at(nextHold);
                const bool over = m_releaseRequested ||
                                  (hold.duration != untilReleased && now - holdStarted >= hold.duration);
                if (over && sendControl(fd, kXon)) {
                    m_holding = false;
                    m_releaseRequested = false;
                    ++m_holdsCompleted;
                    ++nextHold;
                    paceStart = now;
                    pacedBytes = 0;
                    m_changed.notify_all();
                } else if (!m_graceOver && (now - lastInFlight >= kGraceQuiet ||
                                            now - holdStarted >= kGraceMax)) {
                    m_graceOver = true;
                    m_changed.notify_all();
                }
            }
            holding = m_holding;
            graceOver = m_graceOver;
        }

        qint64 want = kReadSize;
        if (!holding && rate > 0) {
            const double elapsed = std::chrono::duration<double>(now - paceStart).count();
            want = std::min<qint64>(want, qint64(rate * elapsed) - pacedBytes);
        }
        if (m_options.hangUpAtByte >= 0) {
            want = std::min(want, m_options.hangUpAtByte - received);
        }
        if (want <= 0 && m_options.hangUpAtByte >= 0 && received >= m_options.hangUpAtByte) {
            {
                // Flag first: the sender sees the hang-up the moment the master closes.
                std::lock_guard guard(m_mutex);
                m_hungUp = true;
            }
            m_pty.closeMaster();
            break;
        }
        if (want <= 0) {
            std::this_thread::sleep_for(Millis(1));
            continue;
        }

        pollfd p{fd, POLLIN, 0};
        const int ready = ::poll(&p, 1, 5);
        if (ready <= 0) {
            continue;
        }
        if (!(p.revents & POLLIN)) {
            // Nobody holds the slave open: nothing can arrive, don't spin.
            std::this_thread::sleep_for(Millis(5));
            continue;
        }
        const ssize_t n = ::read(fd, buffer.data(), size_t(want));
        if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            continue;
        }
        if (n <= 0) {
            break; // the line went away
        }
        if (!holding) {
            pacedBytes += n;
        } else if (!graceOver) {
            lastInFlight = Clock::now();
        }
        {
            std::lock_guard guard(m_mutex);
            if (m_firstMismatch < 0) {
                // Bytes past the end of the payload are wrong too.
                const qint64 comparable = std::clamp<qint64>(m_options.expected.size() - m_received, 0, n);
                const char *data = buffer.constData(), *expected = m_options.expected.constData() + m_received;
                const qint64 same = std::mismatch(data, data + comparable, expected).first - data;
                m_firstMismatch = same < n ? m_received + same : -1;
            }
            m_received += n;
            m_bytesWhileHeld += holding && graceOver ? n : 0;
        }
        m_changed.notify_all();
    }

    std::lock_guard guard(m_mutex);
    m_finished = true;
    m_changed.notify_all();
}
