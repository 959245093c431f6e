#pragma once

#include <QByteArray>
#include <QList>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

class PtyPair;

// Plays a CNC control on the master side of a PtyPair, on its own thread.
//
// It reads at a chosen pace, checks every byte against the payload it expects
// (remembering the first wrong offset, extra bytes included), holds the line
// with XOFF and releases it with XON at chosen byte counts or times, and can
// hang up (close the master) after exactly N bytes. It stops by itself when its
// lifetime runs out, so a broken sender cannot hang a test.
//
// Holding the line: after the XOFF goes out, whatever the sender had already
// handed the pty is still in flight (a Linux pty buffers 20-31 KB). The emulator
// reads that off at full speed until the line has been quiet for 25 ms, or
// for at most 250 ms; from then until the XON every byte that arrives
// counts in bytesWhileHeld(). A sender that honours XOFF gives 0 there.
class MachineEmulator {
public:
    using Millis = std::chrono::milliseconds;
    static constexpr Millis untilReleased = Millis::max();

    // One XOFF ... XON episode.
    struct Hold {
        qint64 atByte = 0;               // XOFF once this many bytes have arrived
        Millis duration = untilReleased; // XON this long after the XOFF; untilReleased: until releaseHold()
    };

    struct Options {
        QByteArray expected = {};  // what the sender should deliver, byte for byte
        double bytesPerSecond = 0; // 0: as fast as the pty delivers; 115200 8N1 is 11520
        QList<Hold> holds = {};    // in order of triggering
        qint64 hangUpAtByte = -1;  // close the master after this many bytes; -1 never
        Millis lifetime{15000};    // the emulator stops on its own after this
    };

    MachineEmulator(PtyPair &pty, Options options) : m_pty(pty), m_options(std::move(options)) {}
    ~MachineEmulator() { stop(); }
    MachineEmulator(const MachineEmulator &) = delete;
    MachineEmulator &operator=(const MachineEmulator &) = delete;

    void start();
    // Ends the thread and waits for it; harmless when it already ended.
    void stop();

    // Waits until at least `count` bytes arrived; false on time-out or when the
    // emulator ended first.
    bool waitForBytes(qint64 count, Millis timeout)
    {
        return waitFor(timeout, [&] { return m_received >= count; });
    }
    // Waits until the current hold is past its grace (the line is really held).
    bool waitUntilHolding(Millis timeout)
    {
        return waitFor(timeout, [&] { return m_holding && m_graceOver; });
    }
    // Sends the XON of the current hold now (the way to end a `untilReleased` hold).
    void releaseHold();

    qint64 firstMismatch() const { return locked(m_firstMismatch); } // -1 while every byte was right
    qint64 bytesWhileHeld() const { return locked(m_bytesWhileHeld); } // 0 for a sender that honours XOFF
    int holdsCompleted() const { return locked(m_holdsCompleted); }
    bool hungUp() const { return locked(m_hungUp); }
    // The whole expected payload arrived, nothing wrong and nothing extra.
    bool receivedExactly() const { return firstMismatch() < 0 && locked(m_received) == m_options.expected.size(); }

private:
    template <typename Condition>
    bool waitFor(Millis timeout, Condition condition)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, timeout, [&] { return condition() || m_finished; });
        return condition();
    }
    template <typename T>
    T locked(const T &member) const
    {
        std::lock_guard guard(m_mutex);
        return member;
    }
    void run();

    PtyPair &m_pty;
    const Options m_options;
    std::thread m_thread;

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_stopRequested = false;
    bool m_releaseRequested = false;
    bool m_finished = false;
    bool m_holding = false;
    bool m_graceOver = false;
    bool m_hungUp = false;
    int m_holdsCompleted = 0;
    qint64 m_received = 0;
    qint64 m_firstMismatch = -1;
    qint64 m_bytesWhileHeld = 0;
};
