// A whole transfer over a failing line, as the send panel runs it: the sender
// reports connecting first and exactly one final event, the port is closed by
// then, and the controller shows the failure's text.
#include "ptypair.h"
#include "syscallfaults.h"
#include "transfer/gcodesender.h"
#include "transfer/transfercontroller.h"
#include "transport/posixserialtransport.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <future>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

std::unique_ptr<PosixSerialTransport> transportOn(const QString &path)
{
    return std::make_unique<PosixSerialTransport>(
        path, 450ms, 300ms, PosixSerialTransport::defaultOutputPending(), 150ms, 10ms, 0ms);
}

// Keeps the pty's master drained so only the injected faults stop the line.
struct Machine115200 {
    PtyPair pty;
    std::atomic<bool> stop{false};
    std::thread reader;
    Machine115200()
        : reader([this] {
              char buffer[4096];
              while (!stop) {
                  if (::read(pty.masterFd(), buffer, sizeof buffer) <= 0) {
                      std::this_thread::sleep_for(2ms);
                  }
              }
          })
    {
    }
    ~Machine115200()
    {
        stop = true;
        reader.join();
    }
};

Machine profile()
{
    Machine machine = Machine::defaults().first();
    machine.baudRate = 115200;
    return machine;
}

ssize_t realWrite(int fd, const void *buffer, size_t length)
{
    return cserial_real_syscalls.write(fd, buffer, length);
}

struct TransferCase {
    const char *name;
    std::function<void(SyscallFaults &)> script;
    TransferEvent::Kind finalKind;
    QString finalText;
};

std::vector<TransferCase> transferCases()
{
    const auto eagain = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
    return {
        {"DeviceVanishesBeforeOpen",
         [](SyscallFaults &f) {
             f.open = [](int, const char *, int) { return SyscallFaults::fail(ENOENT); };
         },
         TransferEvent::Kind::failed, "Could not open %1: " + systemText(ENOENT)},
        {"PortRefusesItsSettings",
         [](SyscallFaults &f) { f.tcsetattr = [](int, int) { return SyscallFaults::fail(EIO); }; },
         TransferEvent::Kind::failed, "Could not configure the port: " + systemText(EIO)},
        {"AdapterPulledMidProgram",
         [](SyscallFaults &f) {
             f.write = [](int call, int fd, const void *b, size_t n) {
                 return call >= 5 ? SyscallFaults::fail(EIO) : realWrite(fd, b, n);
             };
         },
         TransferEvent::Kind::failed, "Send error: " + systemText(EIO)},
        {"MachineHangsUpWhileHoldingTheLine",
         [eagain](SyscallFaults &f) {
             f.write = eagain;
             f.poll = [](int, pollfd *fds, unsigned long, int) {
                 fds[0].revents = POLLHUP;
                 return 1;
             };
         },
         TransferEvent::Kind::failed, "Send error: waiting for the port"},
        {"MachineNeverReceives",
         [eagain](SyscallFaults &f) {
             f.write = eagain;
             f.poll = [](int, pollfd *, unsigned long, int) { return 0; };
         },
         TransferEvent::Kind::failed,
         "Timed out waiting for the machine to receive (is it in receive mode? are the cable and flow "
         "control "
         "correct?)"},
        {"OutputQueueNeverEmpties",
         [](SyscallFaults &f) {
             f.ioctl = [](int, int fd, unsigned long request, void *argument) {
                 if (request == TIOCOUTQ) {
                     *static_cast<int *>(argument) = 64;
                     return 0;
                 }
                 return cserial_real_syscalls.ioctl(fd, request, argument);
             };
         },
         TransferEvent::Kind::failed, "Timed out waiting for the machine to receive the end of the program"},
        {"DriverCannotReportItsQueue",
         [](SyscallFaults &f) {
             f.ioctl = [](int, int fd, unsigned long request, void *argument) {
                 return request == TIOCOUTQ ? SyscallFaults::fail(ENOTTY)
                                            : cserial_real_syscalls.ioctl(fd, request, argument);
             };
         },
         TransferEvent::Kind::finished,
         {}},
    };
}

class TransferFault : public ::testing::TestWithParam<TransferCase> {};

} // namespace

TEST_P(TransferFault, EndsOnceWithThePortClosed)
{
    const TransferCase &c = GetParam();
    Machine115200 machine;
    ASSERT_TRUE(machine.pty.isOpen());
    SyscallFaults faults;
    c.script(faults);
    auto transport = transportOn(machine.pty.slavePath());

    QList<TransferEvent> events;
    bool closedBeforeFinal = false;
    auto done = std::async(std::launch::async, [&] {
        GCodeSender::send(QByteArray(4000, 'G'), profile(), *transport, AppLanguage::english, {},
                          [&](const TransferEvent &event) {
                              if (event.isFinal()) {
                                  closedBeforeFinal =
                                      faults.openDescriptors().empty() && !transport->isOpen();
                              }
                              events.append(event);
                          });
    });
    ASSERT_EQ(done.wait_for(10s), std::future_status::ready) << "the transfer hangs";

    ASSERT_FALSE(events.isEmpty());
    EXPECT_EQ(events.first().kind, TransferEvent::Kind::connecting);
    EXPECT_EQ(
        std::count_if(events.cbegin(), events.cend(), [](const TransferEvent &e) { return e.isFinal(); }), 1);
    EXPECT_EQ(events.last().kind, c.finalKind);
    EXPECT_EQ(events.last().message, QString(c.finalText).replace("%1", machine.pty.slavePath()));
    EXPECT_TRUE(closedBeforeFinal);
}

INSTANTIATE_TEST_SUITE_P(Faults, TransferFault, ::testing::ValuesIn(transferCases()),
                         [](const auto &param) { return std::string(param.param.name); });

TEST(TransferFault, CancelDuringAStormOfFullBuffersEndsOnce)
{
    Machine115200 machine;
    ASSERT_TRUE(machine.pty.isOpen());
    SyscallFaults faults;
    faults.write = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
    auto transport = transportOn(machine.pty.slavePath());
    std::stop_source stop;
    std::atomic<int> finals{0};
    TransferEvent last;
    auto done = std::async(std::launch::async, [&] {
        GCodeSender::send(QByteArray(4000, 'G'), profile(), *transport, AppLanguage::english,
                          stop.get_token(), [&](const TransferEvent &event) {
                              finals += event.isFinal() ? 1 : 0;
                              last = event;
                          });
    });
    std::this_thread::sleep_for(100ms);
    stop.request_stop();
    ASSERT_EQ(done.wait_for(2s), std::future_status::ready);
    EXPECT_EQ(finals.load(), 1);
    EXPECT_EQ(last.kind, TransferEvent::Kind::cancelled);
    EXPECT_TRUE(faults.openDescriptors().empty());
}

TEST(TransferFault, ControllerShowsTheFailureAndSettlesOnce)
{
    Machine115200 machine;
    ASSERT_TRUE(machine.pty.isOpen());
    SyscallFaults faults;
    faults.write = [](int call, int fd, const void *b, size_t n) {
        return call >= 3 ? SyscallFaults::fail(EIO) : realWrite(fd, b, n);
    };
    TransferController controller(
        [](const QString &path) -> std::unique_ptr<SerialTransport> { return transportOn(path); });
    QSignalSpy changes(&controller, &TransferController::stateChanged);
    controller.send(QString("G1 X1\n").repeated(500), "part.nc", profile(), machine.pty.slavePath());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !controller.state().isActive(); }, 10000));

    EXPECT_EQ(controller.state().status, TransferState::Status::error);
    EXPECT_EQ(controller.state().message, "Send error: " + systemText(EIO));
    // Nothing arrives after the end: the failed state is the last one published.
    QTest::qWait(100);
    int ends = 0;
    for (const QList<QVariant> &arguments : changes) {
        ends += arguments.at(0).value<TransferState>().isActive() ? 0 : 1;
    }
    EXPECT_EQ(ends, 1);
    EXPECT_TRUE(faults.openDescriptors().empty());
}
