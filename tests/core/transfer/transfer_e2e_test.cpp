// Whole transfers as the window runs them: the controller, the sender and the
// termios transport, against a machine played on the master side of a real pty.
#include "faketransport.h"
#include "machineemulator.h"
#include "programgenerator.h"
#include "ptypair.h"

#include "transfer/gcodesender.h"
#include "transfer/transfercontroller.h"
#include "transport/posixserialtransport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Hold = MachineEmulator::Hold;
using Status = TransferState::Status;

namespace {

constexpr auto kStall = 600ms;

// Descriptors of this process that point at the device. The pty pair keeps one
// of its own, so a closed port shows as a count of 1. Once the master is gone
// the kernel reads the node back as "(deleted)"; it is still the same device.
int openDescriptors(const QString &devicePath)
{
    const QByteArray path = devicePath.toLocal8Bit();
    const QByteArray gone = path + " (deleted)";
    int count = 0;
    const QStringList entries =
        QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        char target[PATH_MAX] = {};
        const QByteArray link = "/proc/self/fd/" + entry.toLatin1();
        const ssize_t length = ::readlink(link.constData(), target, sizeof target - 1);
        if (length > 0 && (path == target || gone == target)) {
            ++count;
        }
    }
    return count;
}

// Short limits so a stall or a drip-fed hold plays out in well under a second.
TransferController::TransportFactory shortLimits()
{
    return [](const QString &path) -> std::unique_ptr<SerialTransport> {
        return std::make_unique<PosixSerialTransport>(
            path, kStall, 2s, PosixSerialTransport::defaultOutputPending(), 150ms, 50ms, 20ms);
    };
}

Machine machine(int index, bool dripFeed = false)
{
    Machine m = Machine::defaults()[index]; // 0 Fanuc (CR), 1 Fadal (CRLF)
    m.dripFeed = dripFeed;
    return m;
}

QByteArray payloadFor(const QString &program, const Machine &m)
{
    return GCodeSender::preparePayload(program, m.lineTerminator);
}

// Watches one controller: every final state it publishes, and whether the port
// was already closed when it did.
struct Transfer {
    PtyPair pty;
    TransferController controller{shortLimits()};
    QList<Status> finals;
    QList<int> descriptorsAtFinal;

    Transfer()
    {
        QObject::connect(&controller, &TransferController::stateChanged, [this](const TransferState &state) {
            if (!state.isActive()) {
                finals.append(state.status);
                descriptorsAtFinal.append(openDescriptors(pty.slavePath()));
            }
        });
    }

    void send(const QString &program, const Machine &m, const QString &path = {})
    {
        controller.send(program, QStringLiteral("part.nc"), m, path.isEmpty() ? pty.slavePath() : path);
    }
    bool settle(int timeoutMs = 10000)
    {
        return waitUntil([&] { return !controller.state().isActive(); }, timeoutMs);
    }
    // The one final state, with the port released before it was published.
    void expectOneFinal(Status status)
    {
        waitUntil([] { return false; }, 100); // anything the sender still posts arrives now
        EXPECT_EQ(finals, QList<Status>({status}));
        EXPECT_EQ(descriptorsAtFinal, QList<int>({1})) << "the port was still open at the final state";
        EXPECT_EQ(openDescriptors(pty.slavePath()), 1);
    }
};

} // namespace

TEST(TransferEndToEnd, WholeProgramArrivesByteForByte)
{
    struct Case {
        const char *name;
        int machine;
        QString program;
    };
    const QList<Case> cases = {
        {"Fadal, CRLF program", 1, ProgramGenerator::milling(300 * 1024, 11, true)},
        {"Fanuc, LF program sent with CR", 0, ProgramGenerator::milling(120 * 1024, 12, false)},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Transfer t;
        ASSERT_TRUE(t.pty.isOpen()) << t.pty.error().toStdString();
        const QByteArray expected = payloadFor(c.program, machine(c.machine));
        ASSERT_GT(expected.size(), 100 * 1024);
        MachineEmulator emulator(t.pty, {.expected = expected});
        emulator.start();

        t.send(c.program, machine(c.machine));
        ASSERT_TRUE(t.settle());
        EXPECT_EQ(t.controller.state().status, Status::success) << t.controller.state().message.toStdString();
        EXPECT_EQ(t.controller.state().bytesSent, expected.size());
        EXPECT_EQ(t.controller.state().totalBytes, expected.size());
        ASSERT_TRUE(emulator.waitForBytes(expected.size(), 5s));
        EXPECT_TRUE(emulator.receivedExactly()) << "first wrong byte at " << emulator.firstMismatch();
        t.expectOneFinal(Status::success);
    }
}

TEST(TransferEndToEnd, HeldLineIsOnlyAFailureOnceItOutlastsTheStallLimit)
{
    struct Case {
        const char *name;
        MachineEmulator::Millis hold;
        Status outcome;
        QString message;
    };
    const QList<Case> cases = {
        {"hold of half the limit", 300ms, Status::success, QStringLiteral("Transfer Completed")},
        {"hold past the limit", MachineEmulator::untilReleased, Status::error,
         QStringLiteral("Timed out waiting for the machine to receive (is it in receive mode? are the cable "
                        "and flow control correct?)")},
    };
    const QString program = ProgramGenerator::milling(200 * 1024, 3, true);
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        Transfer t;
        const QByteArray expected = payloadFor(program, machine(1));
        MachineEmulator emulator(t.pty,
                                 {.expected = expected, .holds = {Hold{.atByte = 4096, .duration = c.hold}}});
        emulator.start();

        const Clock::time_point start = Clock::now();
        t.send(program, machine(1));
        ASSERT_TRUE(t.settle());
        EXPECT_EQ(t.controller.state().status, c.outcome);
        EXPECT_EQ(t.controller.state().message, c.message);
        EXPECT_TRUE(emulator.heldQuiet()) << emulator.bytesWhileHeld() << " bytes passed the XOFF";
        if (c.outcome == Status::success) {
            EXPECT_EQ(emulator.holdsCompleted(), 1);
            ASSERT_TRUE(emulator.waitForBytes(expected.size(), 5s));
            EXPECT_TRUE(emulator.receivedExactly());
        } else {
            EXPECT_GE(Clock::now() - start, kStall);
            EXPECT_LT(Clock::now() - start, kStall + 2s);
        }
        t.expectOneFinal(c.outcome);
    }
}

TEST(TransferEndToEnd, DripFeedWaitsPastTheStallLimitUntilCancelled)
{
    Transfer t;
    const QString program = ProgramGenerator::milling(200 * 1024, 4);
    MachineEmulator emulator(
        t.pty, {.expected = payloadFor(program, machine(1, true)), .holds = {Hold{.atByte = 2048}}});
    emulator.start();

    t.send(program, machine(1, true));
    ASSERT_TRUE(emulator.waitUntilHolding(5s));
    // Twice the stall limit and still sending.
    EXPECT_FALSE(waitUntil([&] { return !t.controller.state().isActive(); }, int(2 * kStall.count())));
    EXPECT_EQ(t.controller.state().status, Status::sending);
    EXPECT_EQ(openDescriptors(t.pty.slavePath()), 2);

    t.controller.cancel();
    EXPECT_EQ(t.controller.state().status, Status::cancelled);
    EXPECT_EQ(t.controller.state().message, "Transfer Cancelled");
    EXPECT_TRUE(waitUntil([&] { return openDescriptors(t.pty.slavePath()) == 1; }, 200))
        << "the held port was not released within 200 ms of the cancel";
    EXPECT_EQ(t.finals, QList<Status>({Status::cancelled}));
    waitUntil([] { return false; }, 100);
    EXPECT_EQ(t.finals, QList<Status>({Status::cancelled})) << "the sender's late report was applied";
}

// The sender's own report of a cancel, on the real transport: cancelled and
// never failed, with the port closed first, however the stop meets the poll.
TEST(TransferEndToEnd, CancelDuringAHeldLineEndsCancelledWithinTwoHundredMilliseconds)
{
    const QByteArray payload = payloadFor(ProgramGenerator::milling(64 * 1024, 5), machine(1));
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        PtyPair pty;
        MachineEmulator emulator(pty, {.expected = payload, .holds = {Hold{.atByte = 1024}}});
        emulator.start();

        std::mutex mutex;
        QList<TransferEvent::Kind> finals;
        std::atomic<int> descriptorsAtFinal{-1};
        std::atomic<qint64> endedAt{0};
        auto sink = [&](const TransferEvent &event) {
            if (event.isFinal()) {
                descriptorsAtFinal = openDescriptors(pty.slavePath());
                endedAt = Clock::now().time_since_epoch().count();
                std::lock_guard lock(mutex);
                finals.append(event.kind);
            }
        };
        std::jthread sender = GCodeSender::start(payload, machine(1), shortLimits()(pty.slavePath()),
                                                 AppLanguage::english, sink);
        ASSERT_TRUE(emulator.waitUntilHolding(5s));
        std::this_thread::sleep_for(std::chrono::milliseconds(37 * round)); // a different phase of the poll
        const Clock::time_point stop = Clock::now();
        sender.request_stop();
        sender.join();

        ASSERT_EQ(finals, QList<TransferEvent::Kind>({TransferEvent::Kind::cancelled}));
        EXPECT_LT(Clock::time_point(Clock::duration(endedAt.load())) - stop, 200ms);
        EXPECT_EQ(descriptorsAtFinal.load(), 1);
    }
}

TEST(TransferEndToEnd, MachineHangingUpMidTransferIsASendError)
{
    Transfer t;
    const QString program = ProgramGenerator::milling(200 * 1024, 6, true);
    MachineEmulator emulator(t.pty, {.expected = payloadFor(program, machine(1)), .hangUpAtByte = 50000});
    emulator.start();

    t.send(program, machine(1));
    ASSERT_TRUE(t.settle());
    EXPECT_TRUE(emulator.hungUp());
    EXPECT_EQ(t.controller.state().status, Status::error);
    // Whether the hang-up meets the write or the wait for room decides the detail.
    const QStringList allowed = {QStringLiteral("Send error: Input/output error"),
                                 QStringLiteral("Send error: waiting for the port")};
    EXPECT_TRUE(allowed.contains(t.controller.state().message)) << t.controller.state().message.toStdString();
    EXPECT_GE(t.controller.state().bytesSent, 0);
    EXPECT_LT(t.controller.state().bytesSent, t.controller.state().totalBytes);
    t.expectOneFinal(Status::error);
}

TEST(TransferEndToEnd, PortThatCannotBeOpenedOrConfiguredSaysWhyAndIsLeftClosed)
{
    QTemporaryDir dir;
    const QString notATty = dir.filePath(QStringLiteral("capture.txt"));
    QFile(notATty).open(QIODevice::WriteOnly);
    struct Case {
        QString path;
        AppLanguage language;
        QString message;
    };
    const QList<Case> cases = {
        {"/dev/varn-no-such-adapter", AppLanguage::english,
         "Could not open /dev/varn-no-such-adapter: No such file or directory"},
        {"/dev/varn-no-such-adapter", AppLanguage::spanish,
         "No se pudo abrir /dev/varn-no-such-adapter: No such file or directory"},
        {notATty, AppLanguage::english, "Could not configure the port: Inappropriate ioctl for device"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.message.toStdString());
        Transfer t;
        t.controller.setLanguage(c.language);
        t.send(QStringLiteral("G0 X1\nM30\n"), machine(0), c.path);
        ASSERT_TRUE(t.settle());
        EXPECT_EQ(t.controller.state().status, Status::error);
        EXPECT_EQ(t.controller.state().message, c.message);
        t.expectOneFinal(Status::error);
        EXPECT_EQ(openDescriptors(c.path), 0);
    }
}
