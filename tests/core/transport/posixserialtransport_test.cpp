// The transport against a machine played on the master side of a real pty.
#include "machineemulator.h"
#include "ptypair.h"
#include "programgenerator.h"
#include "transport/posixserialtransport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <future>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Hold = MachineEmulator::Hold;

namespace {

constexpr auto kStall = 600ms;

SerialLineSettings xonXoff(bool dripFeed = false)
{
    SerialLineSettings s;
    s.baudRate = 115200;
    s.flowControl = 1;
    s.dripFeed = dripFeed;
    return s;
}

QByteArray program(qint64 bytes)
{
    return ProgramGenerator::milling(bytes).toLatin1();
}

qint64 millisSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

QString english(const std::optional<TransportError> &error)
{
    return error ? error->description(AppLanguage::english) : QStringLiteral("(success)");
}

// A pty, a transport on its slave and a machine on its master.
struct Line {
    PtyPair pty;
    std::unique_ptr<PosixSerialTransport> transport;

    explicit Line(std::chrono::milliseconds stallLimit = kStall)
    {
        transport = std::make_unique<PosixSerialTransport>(pty.slavePath(), stallLimit);
    }
};

} // namespace

TEST(PosixSerialTransport, SlowMachineNeverTimesOutWhileItKeepsTaking)
{
    // At 60 KB/s the whole write takes far longer than the stall limit, but no
    // single stall comes near it.
    Line line(300ms);
    ASSERT_TRUE(line.pty.isOpen());
    const QByteArray payload = program(90 * 1024);
    MachineEmulator machine(line.pty, {.expected = payload, .bytesPerSecond = 60000});
    machine.start();

    ASSERT_EQ(line.transport->open(xonXoff()), std::nullopt);
    const auto start = Clock::now();
    EXPECT_EQ(line.transport->write(payload), std::nullopt);
    EXPECT_GT(millisSince(start), 600); // really was throttled beyond the limit
    EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
    EXPECT_TRUE(machine.receivedExactly());
}

TEST(PosixSerialTransport, HoldShorterThanTheStallLimitPasses)
{
    Line line;
    ASSERT_TRUE(line.pty.isOpen());
    const QByteArray payload = program(256 * 1024);
    MachineEmulator machine(line.pty, {.expected = payload,
                                       .holds = {Hold{.atByte = 4096, .duration = 400ms},
                                                 Hold{.atByte = 96 * 1024, .duration = 400ms},
                                                 Hold{.atByte = 160 * 1024, .duration = 400ms}}});
    machine.start();

    ASSERT_EQ(line.transport->open(xonXoff()), std::nullopt);
    const auto error = line.transport->write(payload);
    EXPECT_EQ(error, std::nullopt) << english(error).toStdString();
    EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
    EXPECT_TRUE(machine.receivedExactly());
    EXPECT_EQ(machine.holdsCompleted(), 3); // together well past the stall limit
    EXPECT_TRUE(machine.heldQuiet()) << machine.bytesWhileHeld() << " bytes arrived while held";
}

TEST(PosixSerialTransport, InterruptDuringHeldLineCancelsQuicklyAndSticksUntilReopen)
{
    Line line(30s);
    ASSERT_TRUE(line.pty.isOpen());
    const QByteArray payload = program(512 * 1024);
    MachineEmulator machine(line.pty, {.expected = payload, .holds = {Hold{.atByte = 1}}});
    machine.start();

    ASSERT_EQ(line.transport->open(xonXoff()), std::nullopt);
    auto result = std::async(std::launch::async, [&] { return line.transport->write(payload); });
    ASSERT_TRUE(machine.waitUntilHolding(3s));
    std::this_thread::sleep_for(100ms);
    const auto interruptedAt = Clock::now();
    std::thread([&] { line.transport->interrupt(); }).join();
    ASSERT_EQ(result.wait_for(2s), std::future_status::ready);
    EXPECT_LT(millisSince(interruptedAt), 200);
    ASSERT_TRUE(result.get());

    // Once cancelled, the open transport refuses everything.
    const auto again = line.transport->write("G0 X0\n");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->kind, TransportError::Kind::cancelled);
    const auto drained = line.transport->drain(false);
    ASSERT_TRUE(drained);
    EXPECT_EQ(drained->kind, TransportError::Kind::cancelled);

    // Opening again starts a new transfer.
    machine.releaseHold();
    ASSERT_EQ(line.transport->open(xonXoff()), std::nullopt);
    EXPECT_EQ(line.transport->write("M30\n"), std::nullopt);
}

TEST(PosixSerialTransport, WriteWithoutAnOpenPort)
{
    PosixSerialTransport transport(QStringLiteral("/dev/ttyUSB-not-opened"));
    const auto error = transport.write("G0 X0\n");
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description(AppLanguage::english), "No port connection");
    // Draining a closed port is not an error.
    EXPECT_EQ(transport.drain(false), std::nullopt);

    Line line;
    ASSERT_TRUE(line.pty.isOpen());
    ASSERT_EQ(line.transport->open(xonXoff()), std::nullopt);
    EXPECT_EQ(line.transport->write(QByteArray()), std::nullopt);
    line.transport->close();
    ASSERT_TRUE(line.transport->write("x"));
    EXPECT_EQ(line.transport->write("x")->kind, TransportError::Kind::notConnected);
}

TEST(PosixSerialTransport, OpenFailuresCarryTheSystemText)
{
    PosixSerialTransport missing(QStringLiteral("/dev/varn-missing-port"));
    const auto error = missing.open(xonXoff());
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, TransportError::Kind::openFailed);
    EXPECT_EQ(error->systemError, ENOENT);
    EXPECT_EQ(error->description(AppLanguage::english),
              "Could not open /dev/varn-missing-port: No such file or directory");
    EXPECT_FALSE(missing.isOpen());

    // Opens fine but is no terminal: the configuration fails and the descriptor is not kept.
    PosixSerialTransport notATty(QStringLiteral("/dev/null"));
    const auto refused = notATty.open(xonXoff());
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->kind, TransportError::Kind::configurationFailed);
    EXPECT_EQ(refused->systemError, ENOTTY);
    EXPECT_EQ(refused->description(AppLanguage::english),
              "Could not configure the port: Inappropriate ioctl for device");
    EXPECT_FALSE(notATty.isOpen());
}

namespace {

// An output queue that empties by the script, counting the questions.
struct ScriptedQueue {
    QList<int> answers;
    std::atomic<int> asked{0};
    int operator()(int)
    {
        const int i = asked++;
        return i < answers.size() ? answers.at(i) : answers.last();
    }
};

std::unique_ptr<PosixSerialTransport> drainingTransport(const QString &path, ScriptedQueue &queue,
                                                        std::chrono::milliseconds drainLimit)
{
    return std::make_unique<PosixSerialTransport>(
        path, kStall, drainLimit, [&queue](int fd) { return queue(fd); }, 150ms, 10ms, 40ms);
}

} // namespace

TEST(PosixSerialTransportDrain, WaitsForTheQueueThenLetsTheAdapterSettle)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ScriptedQueue queue{.answers = {300, 120, 40, 0}};
    auto transport = drainingTransport(pty.slavePath(), queue, 5s);
    ASSERT_EQ(transport->open(xonXoff()), std::nullopt);
    const auto start = Clock::now();
    EXPECT_EQ(transport->drain(false), std::nullopt);
    EXPECT_EQ(queue.asked.load(), 4);
    EXPECT_GE(millisSince(start), 3 * 10 + 40);
}

TEST(PosixSerialTransportDrain, DriverThatCannotTellSucceedsAfterTheSettle)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ScriptedQueue queue{.answers = {-1}};
    auto transport = drainingTransport(pty.slavePath(), queue, 5s);
    ASSERT_EQ(transport->open(xonXoff()), std::nullopt);
    const auto start = Clock::now();
    EXPECT_EQ(transport->drain(false), std::nullopt);
    EXPECT_GE(millisSince(start), 40);
    EXPECT_EQ(queue.asked.load(), 1);
}

TEST(PosixSerialTransportDrain, QueueThatNeverEmptiesTimesOut)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ScriptedQueue queue{.answers = {64}};
    auto transport = drainingTransport(pty.slavePath(), queue, 200ms);
    ASSERT_EQ(transport->open(xonXoff()), std::nullopt);
    const auto start = Clock::now();
    const auto error = transport->drain(false);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->description(AppLanguage::english),
              "Timed out waiting for the machine to receive the end of the program");
    EXPECT_GE(millisSince(start), 200);
    EXPECT_LT(millisSince(start), 1000);
}

TEST(PosixSerialTransportDrain, DripFeedHasNoDeadlineButCancels)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    ScriptedQueue queue{.answers = {64}};
    auto transport = drainingTransport(pty.slavePath(), queue, 100ms);
    ASSERT_EQ(transport->open(xonXoff(true)), std::nullopt);
    auto result = std::async(std::launch::async, [&] { return transport->drain(true); });
    EXPECT_EQ(result.wait_for(400ms), std::future_status::timeout);
    transport->interrupt();
    ASSERT_EQ(result.wait_for(1s), std::future_status::ready);
    const auto error = result.get();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->kind, TransportError::Kind::cancelled);
}
