#pragma once

#include <QString>

#include <atomic>

// A pseudo-terminal pair for serial tests: the slave path is opened exactly as a
// real /dev/ttyUSB0 would be, and the test plays the machine on the master.
//
// The pair keeps one slave descriptor of its own open for its whole life, in raw
// mode, so the master never sees EIO between the transport's sessions and bytes
// the machine sends are never echoed back. Both descriptors are non-blocking.
class PtyPair {
public:
    PtyPair();
    ~PtyPair();
    PtyPair(const PtyPair &) = delete;
    PtyPair &operator=(const PtyPair &) = delete;

    bool isOpen() const { return m_master.load() >= 0 && m_keeper >= 0; }
    // Why the pair could not be created; empty when it was.
    const QString &error() const { return m_error; }

    int masterFd() const { return m_master.load(); }
    int slaveKeeperFd() const { return m_keeper; }
    const QString &slavePath() const { return m_slavePath; }

    // The machine hangs up or the adapter is pulled: the slave side gets a
    // hang-up at once. Safe to call from the emulator's thread; idempotent.
    void closeMaster();

private:
    std::atomic<int> m_master{-1};
    int m_keeper = -1;
    QString m_slavePath;
    QString m_error;
};
