// The emulator is the judge of every transfer test, so its own checks must be
// able to fail: a wrong byte, a sender that ignores XOFF, a pace it does not keep.
#include "machineemulator.h"
#include "ptypair.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

// Writes everything to the slave side, ignoring flow control (it polls on EAGAIN).
void blast(const PtyPair &pty, const QByteArray &bytes)
{
    qsizetype offset = 0;
    const auto giveUp = Clock::now() + 5s;
    while (offset < bytes.size() && Clock::now() < giveUp) {
        const ssize_t n =
            ::write(pty.slaveKeeperFd(), bytes.constData() + offset, size_t(bytes.size() - offset));
        if (n > 0) {
            offset += n;
        } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
            return;
        } else {
            usleep(1000);
        }
    }
}

QByteArray pattern(qsizetype size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (qsizetype i = 0; i < size; ++i) {
        bytes[i] = char('A' + i % 23);
    }
    return bytes;
}

} // namespace

TEST(MachineEmulator, FindsTheFirstWrongByteAndExtraBytes)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const QByteArray expected = pattern(10000);
    QByteArray sent = expected;
    sent[7777] = '#';
    sent[8000] = '#';
    MachineEmulator machine(pty, {.expected = expected});
    machine.start();
    blast(pty, sent);
    ASSERT_TRUE(machine.waitForBytes(sent.size(), 3s));
    EXPECT_EQ(machine.firstMismatch(), 7777);
    EXPECT_FALSE(machine.receivedExactly());

    PtyPair other;
    MachineEmulator longer(other, {.expected = expected});
    longer.start();
    blast(other, expected + "M30\n");
    ASSERT_TRUE(longer.waitForBytes(expected.size() + 4, 3s));
    EXPECT_EQ(longer.firstMismatch(), expected.size());
    EXPECT_FALSE(longer.receivedExactly());
}

TEST(MachineEmulator, NoticesASenderThatIgnoresXoff)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    const QByteArray expected = pattern(64 * 1024);
    // No grace: whatever comes after the XOFF counts, and the raw writer below does not stop.
    MachineEmulator machine(pty, {.expected = expected,
                                  .holds = {MachineEmulator::Hold{.atByte = 1, .duration = 200ms}},
                                  .graceQuiet = 0ms,
                                  .graceMax = 0ms});
    machine.start();
    ASSERT_EQ(::write(pty.slaveKeeperFd(), expected.constData(), 1), 1);
    ASSERT_TRUE(machine.waitUntilHolding(2s));
    blast(pty, expected.mid(1));
    ASSERT_TRUE(machine.waitForBytes(expected.size(), 3s));
    machine.stop();
    EXPECT_GT(machine.bytesWhileHeld(), 0);
    EXPECT_FALSE(machine.heldQuiet());
    EXPECT_TRUE(machine.receivedExactly());
}

TEST(MachineEmulator, ReadsAtThePaceAsked)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    const QByteArray expected = pattern(6000);
    MachineEmulator machine(pty, {.expected = expected, .bytesPerSecond = 11520});
    const auto start = Clock::now();
    machine.start();
    blast(pty, expected); // fits in the pty's buffer at once
    ASSERT_TRUE(machine.waitForBytes(expected.size(), 3s));
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
    EXPECT_GE(took, 6000 * 1000 / 11520 - 20); // about 520 ms
    EXPECT_LT(took, 1500);
    EXPECT_TRUE(machine.receivedExactly());
}

TEST(MachineEmulator, HangsUpAfterExactlyNBytesAndStopsByItself)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    const QByteArray expected = pattern(20000);
    MachineEmulator machine(pty, {.expected = expected, .hangUpAtByte = 1234});
    machine.start();
    blast(pty, expected);
    for (int i = 0; i < 200 && !machine.finished(); ++i) {
        usleep(5000);
    }
    EXPECT_TRUE(machine.hungUp());
    EXPECT_EQ(machine.received(), 1234);
    EXPECT_LT(pty.masterFd(), 0);

    PtyPair idle;
    MachineEmulator bored(idle, {.lifetime = 100ms});
    bored.start();
    for (int i = 0; i < 200 && !bored.finished(); ++i) {
        usleep(5000);
    }
    EXPECT_TRUE(bored.finished());
}
