#pragma once

#include "transport/serialtransport.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>
#include <QStringList>
#include <QThread>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

// The far end of a scripted serial line, shared between a test and the
// FakeTransport the code under test owns (which may live on another thread).
// It records every call in order, and the test can make the line fail or hold
// writes and drains the way a machine in XOFF does, until interrupted.
struct FakeLine {
    // Script, set before the transfer starts.
    std::optional<TransportError> openError;
    std::optional<TransportError> drainError;
    int failingWrite = -1; // zero-based index of the write that fails with writeError
    TransportError writeError = TransportError::writeFailed("Input/output error");
    bool holdWrites = false; // writes block until released or interrupted
    bool holdDrain = false;  // the drain blocks until interrupted

    mutable std::mutex mutex;
    std::condition_variable wake;
    QStringList log; // "open", "write 256", "drain", "drain drip", "close", plus what the test adds
    QByteArray received;
    std::optional<SerialLineSettings> settings;
    bool interrupted = false;
    bool released = false;
    bool holding = false; // a write or drain is blocked right now
    int writes = 0;

    void note(const QString &entry)
    {
        std::lock_guard lock(mutex);
        log.append(entry);
    }
    QStringList entries() const
    {
        std::lock_guard lock(mutex);
        return log;
    }
    void release()
    {
        std::lock_guard lock(mutex);
        released = true;
        wake.notify_all();
    }
    bool isHolding() const
    {
        std::lock_guard lock(mutex);
        return holding;
    }
    bool contains(const QString &entry) const
    {
        std::lock_guard lock(mutex);
        return log.contains(entry);
    }
};

class FakeTransport : public SerialTransport {
public:
    explicit FakeTransport(std::shared_ptr<FakeLine> line) : m_line(std::move(line)) {}
    ~FakeTransport() override { m_line->note("destroyed"); }

    std::optional<TransportError> open(const SerialLineSettings &settings) override
    {
        std::lock_guard lock(m_line->mutex);
        m_line->log.append("open");
        m_line->settings = settings;
        m_line->interrupted = false;
        return m_line->openError;
    }

    std::optional<TransportError> write(const QByteArray &bytes) override
    {
        std::unique_lock lock(m_line->mutex);
        m_line->log.append(QStringLiteral("write %1").arg(bytes.size()));
        const int index = m_line->writes++;
        if (m_line->holdWrites) {
            if (auto error = holdLocked(lock, [this] { return m_line->released; })) {
                return error;
            }
        }
        if (m_line->interrupted) {
            return TransportError::cancelled();
        }
        if (index == m_line->failingWrite) {
            return m_line->writeError;
        }
        m_line->received += bytes;
        return std::nullopt;
    }

    std::optional<TransportError> drain(bool dripFeed) override
    {
        std::unique_lock lock(m_line->mutex);
        m_line->log.append(dripFeed ? "drain drip" : "drain");
        if (m_line->holdDrain) {
            if (auto error = holdLocked(lock, [] { return false; })) {
                return error;
            }
        }
        if (m_line->interrupted) {
            return TransportError::cancelled();
        }
        return m_line->drainError;
    }

    void close() override { m_line->note("close"); }

    void interrupt() override
    {
        std::lock_guard lock(m_line->mutex);
        m_line->interrupted = true;
        m_line->wake.notify_all();
    }

private:
    // Blocks like a machine holding the line: until `done` or an interruption.
    std::optional<TransportError> holdLocked(std::unique_lock<std::mutex> &lock, const std::function<bool()> &done)
    {
        m_line->holding = true;
        m_line->wake.wait(lock, [&] { return m_line->interrupted || done(); });
        m_line->holding = false;
        if (m_line->interrupted) {
            return TransportError::cancelled();
        }
        return std::nullopt;
    }

    std::shared_ptr<FakeLine> m_line;
};

// Runs the main thread's event loop until `condition` holds or `timeoutMs` passes.
inline bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > timeoutMs) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(1);
    }
    return true;
}
