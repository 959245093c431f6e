#pragma once

#include "transport/serialtransport.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QStringList>
#include <QThread>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

// The far end of a scripted serial line, shared between a test and the
// FakeTransport the code under test owns (possibly on another thread). It logs
// every call in order and can fail, or hold writes the way a machine in XOFF
// does until released or interrupted.
struct FakeLine {
    std::optional<TransportError> openError, drainError;
    int failingWrite = -1; // zero-based index of the write that fails with writeError
    TransportError writeError = TransportError::writeFailed("Input/output error");
    bool holdWrites = false;

    mutable std::mutex mutex;
    std::condition_variable wake;
    QStringList log; // "open", "write 256", "drain", "drain drip", "close", "destroyed", "event ..."
    QByteArray received;
    bool interrupted = false, released = false, holding = false;
    int writes = 0;

    void note(const QString &entry) { std::lock_guard lock(mutex); log.append(entry); }
    bool contains(const QString &entry) const { std::lock_guard lock(mutex); return log.contains(entry); }
    bool isHolding() const { std::lock_guard lock(mutex); return holding; }
    void release() { std::lock_guard lock(mutex); released = true; wake.notify_all(); }
};

class FakeTransport : public SerialTransport {
public:
    explicit FakeTransport(std::shared_ptr<FakeLine> line) : m_line(std::move(line)) {}
    ~FakeTransport() override { m_line->note("destroyed"); }

    // Like the real transport, opening clears an interruption left from before.
    std::optional<TransportError> open(const SerialLineSettings &) override
    {
        std::lock_guard lock(m_line->mutex);
        m_line->log.append("open");
        m_line->interrupted = false;
        return m_line->openError;
    }
    std::optional<TransportError> write(const QByteArray &bytes) override
    {
        std::unique_lock lock(m_line->mutex);
        m_line->log.append(QStringLiteral("write %1").arg(bytes.size()));
        const int index = m_line->writes++;
        m_line->holding = m_line->holdWrites;
        m_line->wake.wait(lock, [&] { return !m_line->holdWrites || m_line->released || m_line->interrupted; });
        m_line->holding = false;
        if (m_line->interrupted) {
            return TransportError::cancelled();
        }
        if (index == m_line->failingWrite) {
            return m_line->writeError;
        }
        m_line->received += bytes;
        return std::nullopt;
    }
    std::optional<TransportError> drain(bool dripFeed) override { m_line->note(dripFeed ? "drain drip" : "drain"); return m_line->drainError; }
    void close() override { m_line->note("close"); }
    void interrupt() override { std::lock_guard lock(m_line->mutex); m_line->interrupted = true; m_line->wake.notify_all(); }

private:
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
