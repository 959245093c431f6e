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
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>


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
    int count = 0;
    for (const QFileInfo &fd : QDir("/proc/self/fd").entryInfoList(QDir::System | QDir::NoDotAndDotDot)) {
        count += fd.symLinkTarget() == devicePath || fd.symLinkTarget() == devicePath + " (deleted)";
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

TEST(TransferEndToEnd, OutcomeFollowsWhatTheMachineDoes)
{
    const QString timedOut = "Timed out waiting for the machine to receive (is it in receive mode? are the cable "
                             "and flow control correct?)";
    const struct {
        const char *name;
        int machine;
        bool crlf;
        QList<Hold> holds;
        qint64 hangUpAtByte;
        Status outcome;
        QStringList messages;
    } cases[] = {
        {"Fadal, CRLF program", 1, true, {}, -1, Status::success, {"Transfer Completed"}},
        {"Fanuc, LF program sent with CR", 0, false, {}, -1, Status::success, {"Transfer Completed"}},
        {"hold of half the stall limit", 1, true, {Hold{.atByte = 4096, .duration = 300ms}}, -1, Status::success,
         {"Transfer Completed"}},
        {"hold past the stall limit", 1, true, {Hold{.atByte = 4096}}, -1, Status::error, {timedOut}},
        // Whether the hang-up meets the write or the wait for room decides the detail.
        {"machine hangs up", 1, true, {}, 50000, Status::error,
         {"Send error: Input/output error", "Send error: waiting for the port"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Transfer t;
        ASSERT_TRUE(t.pty.isOpen()) << t.pty.error().toStdString();
        const QString program = ProgramGenerator::milling(200 * 1024, 11, c.crlf);
        const QByteArray expected = GCodeSender::preparePayload(program, machine(c.machine).lineTerminator);
        MachineEmulator emulator(t.pty, {.expected = expected, .holds = c.holds, .hangUpAtByte = c.hangUpAtByte});
        emulator.start();

        const Clock::time_point start = Clock::now();
        t.send(program, machine(c.machine));
        ASSERT_TRUE(t.settle());
        const TransferState &state = t.controller.state();
        EXPECT_EQ(state.status, c.outcome);
        EXPECT_TRUE(c.messages.contains(state.message)) << state.message.toStdString();
        EXPECT_EQ(emulator.bytesWhileHeld(), 0) << "bytes passed the XOFF";
        EXPECT_EQ(state.totalBytes, expected.size());
        if (c.outcome == Status::success) {
            EXPECT_EQ(state.bytesSent, expected.size());
            EXPECT_EQ(emulator.holdsCompleted(), c.holds.size());
            ASSERT_TRUE(emulator.waitForBytes(expected.size(), 5s));
            EXPECT_TRUE(emulator.receivedExactly()) << "first wrong byte at " << emulator.firstMismatch();
        } else if (c.hangUpAtByte < 0) {
            EXPECT_GE(Clock::now() - start, kStall);
            EXPECT_LT(Clock::now() - start, kStall + 2s);
        } else {
            EXPECT_TRUE(emulator.hungUp());
            EXPECT_LT(state.bytesSent, state.totalBytes);
        }
        t.expectOneFinal(c.outcome);
    }
}

// A drip feed waits past the stall limit; a plain transfer is cancelled at
// different phases of the poll. Either way the held port is let go at once
// and the sender's late report changes nothing.
TEST(TransferEndToEnd, CancelDuringAHeldLineReleasesThePortWithinTwoHundredMilliseconds)
{
    const std::pair<bool, int> cases[] = {{true, int(2 * kStall.count())}, {false, 1}, {false, 37}, {false, 74}};
    for (const auto &[drip, heldMs] : cases) {
        SCOPED_TRACE(heldMs);
        Transfer t;
        const QString program = ProgramGenerator::milling(200 * 1024, 4);
        MachineEmulator emulator(
            t.pty, {.expected = GCodeSender::preparePayload(program, machine(1).lineTerminator), .holds = {Hold{.atByte = 2048}}});
        emulator.start();

        t.send(program, machine(1, drip));
        ASSERT_TRUE(emulator.waitUntilHolding(5s));
        EXPECT_FALSE(waitUntil([&] { return !t.controller.state().isActive(); }, heldMs));
        EXPECT_EQ(t.controller.state().status, Status::sending);
        EXPECT_EQ(openDescriptors(t.pty.slavePath()), 2);

        t.controller.cancel();
        EXPECT_EQ(t.controller.state().message, "Transfer Cancelled");
        EXPECT_TRUE(waitUntil([&] { return openDescriptors(t.pty.slavePath()) == 1; }, 200))
            << "the held port was not released within 200 ms of the cancel";
        waitUntil([] { return false; }, 100);
        EXPECT_EQ(t.finals, QList<Status>({Status::cancelled}));
    }
}

TEST(TransferEndToEnd, PortThatCannotBeOpenedOrConfiguredSaysWhyAndIsLeftClosed)
{
    QTemporaryDir dir;
    const QString notATty = dir.filePath(QStringLiteral("capture.txt"));
    QFile(notATty).open(QIODevice::WriteOnly);
    const std::tuple<QString, AppLanguage, QString> cases[] = {
        {"/dev/varn-no-such-adapter", AppLanguage::english,
         "Could not open /dev/varn-no-such-adapter: No such file or directory"},
        {"/dev/varn-no-such-adapter", AppLanguage::spanish,
         "No se pudo abrir /dev/varn-no-such-adapter: No such file or directory"},
        {notATty, AppLanguage::english, "Could not configure the port: Inappropriate ioctl for device"},
    };
    for (const auto &[path, language, message] : cases) {
        SCOPED_TRACE(message.toStdString());
        Transfer t;
        t.controller.setLanguage(language);
        t.send(QStringLiteral("G0 X1\nM30\n"), machine(0), path);
        ASSERT_TRUE(t.settle());
        EXPECT_EQ(t.controller.state().status, Status::error);
        EXPECT_EQ(t.controller.state().message, message);
        t.expectOneFinal(Status::error);
        EXPECT_EQ(openDescriptors(path), 0);
    }
}
