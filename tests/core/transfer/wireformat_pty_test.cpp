// Line delay and wait-for-XON through the termios transport, with the test
// playing the machine on the master side of a real pty.
#include "ptypair.h"

#include "transfer/gcodesender.h"
#include "transfer/wireformat.h"
#include "transport/posixserialtransport.h"

#include <QList>
#include <gtest/gtest.h>

#include <mutex>
#include <poll.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

struct Arrival {
    Clock::time_point at;
    char byte;
};

// Reads the master until `count` bytes arrived or `timeout` passed.
QList<Arrival> readMaster(int fd, qsizetype count, std::chrono::milliseconds timeout)
{
    QList<Arrival> got;
    const auto deadline = Clock::now() + timeout;
    while (got.size() < count && Clock::now() < deadline) {
        pollfd watch{fd, POLLIN, 0};
        if (::poll(&watch, 1, 20) <= 0) {
            continue;
        }
        char buffer[256];
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        for (ssize_t i = 0; i < n; ++i) {
            got.append({Clock::now(), buffer[i]});
        }
    }
    return got;
}

QByteArray bytesOf(const QList<Arrival> &arrivals)
{
    QByteArray out;
    for (const Arrival &a : arrivals) {
        out += a.byte;
    }
    return out;
}

struct SenderRun {
    std::mutex mutex;
    QList<TransferEvent> events;
    std::jthread thread;

    void start(const QByteArray &payload, const Machine &machine, const QString &path)
    {
        thread = GCodeSender::start(payload, machine,
                                    std::make_unique<PosixSerialTransport>(
                                        path, 2s, 2s, PosixSerialTransport::defaultOutputPending(), 50ms, 20ms, 5ms),
                                    AppLanguage::english, [this](const TransferEvent &e) {
                                        std::lock_guard guard(mutex);
                                        events.append(e);
                                    });
    }
    TransferEvent last()
    {
        thread.join();
        std::lock_guard guard(mutex);
        return events.isEmpty() ? TransferEvent{} : events.last();
    }
};

Machine fast(Machine::FlowControl flow)
{
    Machine machine = Machine::defaults().at(1);
    machine.baudRate = 115200;
    machine.flowControl = flow;
    return machine;
}

} // namespace

TEST(WireFormatOnPty, LineDelayLeavesAGapAfterEveryBlock)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    Machine machine = fast(Machine::FlowControl::xonXoff);
    machine.lineDelayMs = 80;
    const QByteArray payload = WireFormat::build(QStringLiteral("G0 X1\nG1 Y2\nG1 Z3\nM30\n"), machine).bytes;

    SenderRun run;
    run.start(payload, machine, pty.slavePath());
    const QList<Arrival> got = readMaster(pty.masterFd(), payload.size(), 5s);
    EXPECT_EQ(bytesOf(got), payload);
    for (qsizetype i = 1; i < got.size(); ++i) {
        if (got[i - 1].byte == '\n') {
            EXPECT_GE(got[i].at - got[i - 1].at, 70ms) << "after byte " << i;
        } else {
            EXPECT_LT(got[i].at - got[i - 1].at, 60ms) << "inside a block at byte " << i;
        }
    }
    EXPECT_EQ(run.last().kind, TransferEvent::Kind::finished);
}

TEST(WireFormatOnPty, NothingGoesOutUntilTheMachineSendsXon)
{
    for (const Machine::FlowControl flow : {Machine::FlowControl::xonXoff, Machine::FlowControl::none}) {
        SCOPED_TRACE(Machine::rawValue(flow).toStdString());
        PtyPair pty;
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        Machine machine = fast(flow);
        machine.waitForXon = true;
        const QByteArray payload = WireFormat::build(QStringLiteral("O1\nG0 X1\nM30\n"), machine).bytes;

        SenderRun run;
        run.start(payload, machine, pty.slavePath());
        // Anything but DC1 (an XOFF, noise) does not start the program.
        std::this_thread::sleep_for(100ms);
        ASSERT_EQ(::write(pty.masterFd(), "\x13?", 2), 2);
        EXPECT_TRUE(readMaster(pty.masterFd(), 1, 300ms).isEmpty());
        {
            std::lock_guard guard(run.mutex);
            ASSERT_FALSE(run.events.isEmpty());
            EXPECT_EQ(run.events.last().kind, TransferEvent::Kind::waiting);
        }
        ASSERT_EQ(::write(pty.masterFd(), "\x11", 1), 1);
        EXPECT_EQ(bytesOf(readMaster(pty.masterFd(), payload.size(), 3s)), payload);
        EXPECT_EQ(run.last().kind, TransferEvent::Kind::finished);
    }
}

TEST(WireFormatOnPty, CancelEndsTheWaitForXon)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    Machine machine = fast(Machine::FlowControl::xonXoff);
    machine.waitForXon = true;
    SenderRun run;
    run.start("G0\r\n", machine, pty.slavePath());
    std::this_thread::sleep_for(150ms);
    const auto asked = Clock::now();
    run.thread.request_stop();
    EXPECT_EQ(run.last().kind, TransferEvent::Kind::cancelled);
    EXPECT_LT(Clock::now() - asked, 300ms);
}
