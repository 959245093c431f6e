// Failing hardware, simulated at the system calls: a transfer over a failing
// line reports connecting first and exactly one final event with the failure's
// text, the port is already closed by then, and it never hangs. Faults the
// line recovers from still deliver the whole program, in order.
#include "machineemulator.h"
#include "ptypair.h"
#include "syscallfaults.h"
#include "transfer/gcodesender.h"
#include "transport/posixserialtransport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <future>
#include <poll.h>
#include <sys/ioctl.h>

using namespace std::chrono_literals;
using Kind = TransferEvent::Kind;

namespace {

const QByteArray kPayload = QByteArray("N10 G1 X1.5 Y-2 F300\r\n").repeated(150); // 3300 bytes, fits a pty

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

using Script = std::function<void(SyscallFaults &)>;

// Write calls `from` to `to` fail with `error`; the others pass at most `chunk` bytes on.
Script failWrites(int from, int to, int error, size_t chunk = SIZE_MAX)
{
    return [=](SyscallFaults &f) {
        f.write = [=](int call, int fd, const void *buffer, size_t length) {
            return call >= from && call <= to
                       ? SyscallFaults::fail(error)
                       : cserial_real_syscalls.write(fd, buffer, std::min(length, chunk));
        };
    };
}

// A line that never frees: every write finds the buffer full and each wait answers `poll`.
Script heldLine(int (*poll)(pollfd *fds))
{
    return [=](SyscallFaults &f) {
        failWrites(1, INT_MAX, EAGAIN)(f);
        f.poll = [=](int, pollfd *fds, unsigned long, int) { return poll(fds); };
    };
}

// One kind of ioctl request fails with `error`; the others pass.
Script failIoctl(bool (*matches)(unsigned long), int error)
{
    return [=](SyscallFaults &f) {
        f.ioctl = [=](int, int fd, unsigned long request, void *argument) {
            return matches(request) ? SyscallFaults::fail(error)
                                    : cserial_real_syscalls.ioctl(fd, request, argument);
        };
    };
}

// TCSETS2 itself needs the kernel's termios2, which cannot share a file with <termios.h>.
bool isSetSpeed(unsigned long request)
{
    return _IOC_TYPE(request) == 'T' && _IOC_NR(request) == 0x2B;
}

struct Fault {
    const char *name;
    Script script;
    Kind end;
    QString text; // %1 is the device
    int baud = 115200;
    bool cancel = false;
};

} // namespace

TEST(SerialFault, EveryFaultEndsOnceWithItsTextAndThePortClosed)
{
    const QString configure = QStringLiteral("Could not configure the port: ");
    const QString waiting = QStringLiteral("Send error: waiting for the port");
    const Fault faults[] = {
        {"interrupted writes are retried", failWrites(1, 3, EINTR), Kind::finished, ""},
        {"short writes go on where they stopped", failWrites(1, 0, 0, 7), Kind::finished, ""},
        {"a storm of full buffers ends when the line frees", failWrites(1, 300, EAGAIN), Kind::finished, ""},
        {"adapter pulled mid-program", failWrites(3, 3, EIO, 100), Kind::failed,
         "Send error: " + systemText(EIO)},
        {"the wait itself fails", heldLine([](pollfd *) { return SyscallFaults::fail(ENOMEM); }),
         Kind::failed, waiting},
        {"hang-up while the line is held", heldLine([](pollfd *fds) {
             fds[0].revents = POLLOUT | POLLHUP;
             return 1;
         }),
         Kind::failed, waiting},
        {"a machine that never takes a byte", heldLine([](pollfd *) { return 0; }), Kind::failed,
         "Timed out waiting for the machine to receive (is it in receive mode? "
         "are the cable and flow control correct?)"},
        {"cancel while signals keep interrupting the wait",
         heldLine([](pollfd *) { return SyscallFaults::fail(EINTR); }), Kind::cancelled, "", 115200, true},
        {"an output queue that never empties",
         [](SyscallFaults &f) {
             f.ioctl = [](int, int fd, unsigned long request, void *argument) {
                 if (request == TIOCOUTQ) {
                     *static_cast<int *>(argument) = 64;
                     return 0;
                 }
                 return cserial_real_syscalls.ioctl(fd, request, argument);
             };
         },
         Kind::failed, "Timed out waiting for the machine to receive the end of the program"},
        {"a driver that cannot report its queue",
         failIoctl([](unsigned long request) { return request == TIOCOUTQ; }, ENOTTY), Kind::finished, ""},
        {"modem lines refused (ignored)",
         failIoctl([](unsigned long request) { return request == TIOCMGET; }, EIO), Kind::finished, ""},
        {"device gone before the open",
         [](SyscallFaults &f) {
             f.open = [](int, const char *, int) { return SyscallFaults::fail(ENOENT); };
         },
         Kind::failed, "Could not open %1: " + systemText(ENOENT)},
        {"not a terminal",
         [](SyscallFaults &f) { f.tcgetattr = [](int) { return SyscallFaults::fail(ENOTTY); }; },
         Kind::failed, configure + systemText(ENOTTY)},
        {"settings refused",
         [](SyscallFaults &f) { f.tcsetattr = [](int) { return SyscallFaults::fail(EIO); }; }, Kind::failed,
         configure + systemText(EIO), 9600},
        {"arbitrary speed refused", failIoctl(isSetSpeed, EINVAL), Kind::failed,
         configure + systemText(EINVAL), 250000},
    };
    for (const Fault &fault : faults) {
        SCOPED_TRACE(fault.name);
        PtyPair pty;
        ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
        MachineEmulator machine(pty, {.expected = kPayload});
        machine.start();
        SyscallFaults seam;
        fault.script(seam);
        PosixSerialTransport transport(pty.slavePath(), 450ms, 300ms,
                                       PosixSerialTransport::defaultOutputPending(), 150ms, 10ms, 0ms);
        Machine profile = Machine::defaults().first();
        profile.baudRate = fault.baud;
        std::stop_source stop;
        QList<TransferEvent> events;
        bool closedBeforeFinal = false;
        auto done = std::async(std::launch::async, [&] {
            GCodeSender::send(kPayload, profile, transport, AppLanguage::english, stop.get_token(),
                              [&](const TransferEvent &event) {
                                  if (event.isFinal()) {
                                      closedBeforeFinal =
                                          seam.openDescriptors().empty() && !transport.isOpen();
                                  }
                                  events.append(event);
                              });
        });
        if (fault.cancel) {
            std::this_thread::sleep_for(100ms);
            stop.request_stop();
        }
        ASSERT_EQ(done.wait_for(5s), std::future_status::ready) << "the transfer hangs";

        ASSERT_FALSE(events.isEmpty());
        EXPECT_EQ(events.first().kind, Kind::connecting);
        EXPECT_EQ(
            std::count_if(events.cbegin(), events.cend(), [](const TransferEvent &e) { return e.isFinal(); }),
            1);
        EXPECT_EQ(events.last().kind, fault.end);
        EXPECT_EQ(events.last().message, QString(fault.text).replace("%1", pty.slavePath()));
        EXPECT_TRUE(closedBeforeFinal);
        if (fault.end == Kind::finished) {
            EXPECT_TRUE(machine.waitForBytes(kPayload.size(), 2s));
        }
        machine.stop();
        EXPECT_EQ(machine.firstMismatch(), -1) << "bytes arrived out of order";
    }
}
