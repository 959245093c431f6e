// The transport against a machine played on the master side of a real pty.
#include "machineemulator.h"
#include "ptypair.h"
#include "programgenerator.h"
#include "transport/posixserialtransport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

SerialLineSettings xonXoff(bool dripFeed = false)
{
    return SerialLineSettings{.baudRate = 115200, .flowControl = 1, .dripFeed = dripFeed};
}

qint64 millisSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

QString english(const std::optional<TransportError> &error)
{
    return error ? error->description(AppLanguage::english) : QStringLiteral("(success)");
}

// A pty with an open transport on its slave. The output queue answers by the
// script (its last answer repeats) and counts the questions; polls are short
// so drains play out in milliseconds.
struct Line {
    explicit Line(std::chrono::milliseconds stallLimit, QList<int> queueAnswers = {0},
                  std::chrono::milliseconds drainLimit = 200ms, bool dripFeed = false)
        : answers(std::move(queueAnswers)),
          transport(pty.slavePath(), stallLimit, drainLimit,
                    [this](int) { return answers.at(std::min<qsizetype>(asked++, answers.size() - 1)); }, 150ms,
                    10ms, 40ms)
    {
        EXPECT_EQ(transport.open(xonXoff(dripFeed)), std::nullopt);
    }
    PtyPair pty;
    QList<int> answers;
    std::atomic<int> asked{0};
    PosixSerialTransport transport;
};

} // namespace

TEST(PosixSerialTransport, SlowMachineNeverTimesOutWhileItKeepsTaking)
{
    // At 60 KB/s the whole write takes far longer than the stall limit, but no
    // single stall comes near it.
    Line line(300ms);
    const QByteArray payload = ProgramGenerator::milling(90 * 1024).toLatin1();
    MachineEmulator machine(line.pty, {.expected = payload, .bytesPerSecond = 60000});
    machine.start();
    const auto start = Clock::now();
    EXPECT_EQ(line.transport.write(payload), std::nullopt);
    EXPECT_GT(millisSince(start), 600); // really was throttled beyond the limit
    EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
    EXPECT_TRUE(machine.receivedExactly());
}

TEST(PosixSerialTransport, InterruptDuringHeldLineCancelsQuicklyAndSticksUntilReopen)
{
    Line line(30s);
    const QByteArray payload = ProgramGenerator::milling(512 * 1024).toLatin1();
    MachineEmulator machine(line.pty, {.expected = payload, .holds = {MachineEmulator::Hold{.atByte = 1}}});
    machine.start();
    auto result = std::async(std::launch::async, [&] { return line.transport.write(payload); });
    ASSERT_TRUE(machine.waitUntilHolding(3s));
    std::this_thread::sleep_for(100ms);
    const auto interruptedAt = Clock::now();
    std::thread([&] { line.transport.interrupt(); }).join();
    ASSERT_EQ(result.wait_for(2s), std::future_status::ready);
    EXPECT_LT(millisSince(interruptedAt), 200);
    EXPECT_EQ(english(result.get()), "Transfer Cancelled");

    // Once cancelled, the open transport refuses everything; opening again starts anew.
    EXPECT_EQ(line.transport.write("G0 X0\n").value_or(TransportError::drainTimeout()).kind,
              TransportError::Kind::cancelled);
    EXPECT_EQ(line.transport.drain(false).value_or(TransportError::drainTimeout()).kind,
              TransportError::Kind::cancelled);
    machine.releaseHold();
    ASSERT_EQ(line.transport.open(xonXoff()), std::nullopt);
    EXPECT_EQ(line.transport.write("M30\n"), std::nullopt);
}

TEST(PosixSerialTransport, WriteWithoutAnOpenPort)
{
    PosixSerialTransport never(QStringLiteral("/dev/ttyUSB-not-opened"));
    EXPECT_EQ(english(never.write("G0 X0\n")), "No port connection");
    EXPECT_EQ(never.drain(false), std::nullopt); // draining a closed port is not an error

    Line line(600ms);
    EXPECT_EQ(line.transport.write(QByteArray()), std::nullopt);
    line.transport.close();
    EXPECT_EQ(line.transport.write("x").value_or(TransportError::drainTimeout()).kind,
              TransportError::Kind::notConnected);
}

// Questions asked of the queue and the least time the drain took: the queue
// empties, then the adapter settles; a driver that cannot tell settles only;
// a queue that never empties times out at the drain limit.
TEST(PosixSerialTransportDrain, WaitsForTheQueueThenSettlesOrTimesOut)
{
    const QString timedOut = "Timed out waiting for the machine to receive the end of the program";
    const struct {
        QList<int> answers;
        int asked;
        qint64 atLeastMs;
        QString message;
    } rows[] = {{{300, 120, 40, 0}, 4, 3 * 10 + 40, "(success)"}, {{-1}, 1, 40, "(success)"}, {{64}, -1, 200, timedOut}};
    for (const auto &row : rows) {
        Line line(600ms, row.answers);
        const auto start = Clock::now();
        EXPECT_EQ(english(line.transport.drain(false)), row.message);
        EXPECT_GE(millisSince(start), row.atLeastMs);
        EXPECT_LT(millisSince(start), 1000);
        EXPECT_TRUE(row.asked < 0 || line.asked.load() == row.asked) << line.asked.load();
    }
}

TEST(PosixSerialTransportDrain, DripFeedHasNoDeadlineButCancels)
{
    Line line(600ms, {64}, 100ms, true);
    auto result = std::async(std::launch::async, [&] { return line.transport.drain(true); });
    EXPECT_EQ(result.wait_for(400ms), std::future_status::timeout);
    line.transport.interrupt();
    ASSERT_EQ(result.wait_for(1s), std::future_status::ready);
    EXPECT_EQ(english(result.get()), "Transfer Cancelled");
}
