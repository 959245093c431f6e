// Failing hardware, simulated at the system calls: every fault ends in the right
// user text with the port closed, a transfer never hangs, and it reports exactly
// one final event.
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

const QByteArray kPayload = QByteArray("N10 G1 X1.5 Y-2 F300\r\n").repeated(150); // 3300 bytes, fits a pty

QString systemText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString english(const std::optional<TransportError> &error)
{
    return error ? error->description(AppLanguage::english) : QStringLiteral("(success)");
}

// Everything the machine side has received so far.
QByteArray drainMaster(int master)
{
    QByteArray received;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(master, buffer, sizeof buffer);
        if (n <= 0) {
            return received;
        }
        received.append(buffer, n);
    }
}

SerialLineSettings settings(int baud = 115200)
{
    SerialLineSettings s;
    s.baudRate = baud;
    s.flowControl = 1;
    return s;
}

std::unique_ptr<PosixSerialTransport> transportOn(const QString &path)
{
    return std::make_unique<PosixSerialTransport>(
        path, 450ms, 300ms, PosixSerialTransport::defaultOutputPending(), 150ms, 10ms, 0ms);
}

// TCSETS2 itself needs the kernel's termios2, which cannot share a file with <termios.h>.
bool isSetSpeedRequest(unsigned long request)
{
    return _IOC_TYPE(request) == 'T' && _IOC_NR(request) == 0x2B;
}

// Ready script pieces.
ssize_t realWrite(int fd, const void *buffer, size_t length)
{
    return cserial_real_syscalls.write(fd, buffer, length);
}

struct WriteCase {
    const char *name;
    std::function<void(SyscallFaults &)> script;
    QString expected; // the transport's answer in English
    bool wholePayloadArrives;
};

std::vector<WriteCase> writeCases()
{
    return {
        {"InterruptedWritesAreRetried",
         [](SyscallFaults &f) {
             f.write = [](int call, int fd, const void *b, size_t n) {
                 return call <= 3 ? SyscallFaults::fail(EINTR) : realWrite(fd, b, n);
             };
         },
         "(success)", true},
        {"ShortWritesContinueWhereTheyStopped",
         [](SyscallFaults &f) {
             f.write = [](int, int fd, const void *b, size_t n) {
                 return realWrite(fd, b, std::min<size_t>(n, 7));
             };
         },
         "(success)", true},
        {"StormOfFullBuffersEndsWhenTheLineFrees",
         [](SyscallFaults &f) {
             f.write = [](int call, int fd, const void *b, size_t n) {
                 return call <= 300 ? SyscallFaults::fail(EAGAIN) : realWrite(fd, b, n);
             };
         },
         "(success)", true},
        {"InputOutputErrorGivesTheSystemText",
         [](SyscallFaults &f) {
             f.write = [](int call, int fd, const void *b, size_t n) {
                 return call == 3 ? SyscallFaults::fail(EIO) : realWrite(fd, b, std::min<size_t>(n, 100));
             };
         },
         "Send error: " + systemText(EIO), false},
        {"FailedWaitIsAWaitError",
         [](SyscallFaults &f) {
             f.write = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
             f.poll = [](int, pollfd *, unsigned long, int) { return SyscallFaults::fail(ENOMEM); };
         },
         "Send error: waiting for the port", false},
        {"HangUpWhileWaitingIsAWaitError",
         [](SyscallFaults &f) {
             f.write = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
             f.poll = [](int, pollfd *fds, unsigned long, int) {
                 fds[0].revents = POLLOUT | POLLHUP;
                 return 1;
             };
         },
         "Send error: waiting for the port", false},
        {"MachineThatNeverTakesABytePassesTheStallLimit",
         [](SyscallFaults &f) {
             f.write = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
             f.poll = [](int, pollfd *, unsigned long, int) { return 0; };
         },
         "Timed out waiting for the machine to receive (is it in receive mode? are the cable and flow "
         "control "
         "correct?)",
         false},
    };
}

class TransportWriteFault : public ::testing::TestWithParam<WriteCase> {};

} // namespace

TEST_P(TransportWriteFault, EndsWithTheRightAnswer)
{
    const WriteCase &c = GetParam();
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SyscallFaults faults;
    c.script(faults);
    auto transport = transportOn(pty.slavePath());
    ASSERT_EQ(english(transport->open(settings())), "(success)");

    auto done = std::async(std::launch::async, [&] { return transport->write(kPayload); });
    ASSERT_EQ(done.wait_for(10s), std::future_status::ready) << "the write hangs";
    EXPECT_EQ(english(done.get()), c.expected);
    transport->close();
    EXPECT_TRUE(faults.openDescriptors().empty());
    const QByteArray received = drainMaster(pty.masterFd());
    if (c.wholePayloadArrives) {
        EXPECT_EQ(received, kPayload);
    } else {
        EXPECT_TRUE(kPayload.startsWith(received)) << "bytes arrived out of order";
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, TransportWriteFault, ::testing::ValuesIn(writeCases()),
                         [](const auto &param) { return std::string(param.param.name); });

TEST(TransportFault, CancelEndsAWaitThatSignalsKeepInterrupting)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    SyscallFaults faults;
    faults.write = [](int, int, const void *, size_t) { return ssize_t(SyscallFaults::fail(EAGAIN)); };
    faults.poll = [](int, pollfd *, unsigned long, int) { return SyscallFaults::fail(EINTR); };
    auto transport = transportOn(pty.slavePath());
    ASSERT_EQ(english(transport->open(settings())), "(success)");
    auto done = std::async(std::launch::async, [&] { return transport->write(kPayload); });
    std::this_thread::sleep_for(50ms);
    transport->interrupt();
    ASSERT_EQ(done.wait_for(2s), std::future_status::ready) << "cancel did not reach the write";
    EXPECT_EQ(english(done.get()), "Transfer Cancelled");
}

TEST(TransportFault, OpenAndConfigureFailuresCloseWhatTheyOpenedAndSaySo)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    const QString path = pty.slavePath();
    struct Case {
        const char *name;
        std::function<void(SyscallFaults &)> script;
        int baud;
        QString expected;
    };
    const std::vector<Case> cases = {
        {"missing device",
         [](SyscallFaults &f) {
             f.open = [](int, const char *, int) { return SyscallFaults::fail(ENOENT); };
         },
         115200, "Could not open " + path + ": " + systemText(ENOENT)},
        {"no permission",
         [](SyscallFaults &f) {
             f.open = [](int, const char *, int) { return SyscallFaults::fail(EACCES); };
         },
         115200, "Could not open " + path + ": " + systemText(EACCES)},
        {"not a terminal",
         [](SyscallFaults &f) { f.tcgetattr = [](int, int) { return SyscallFaults::fail(ENOTTY); }; }, 115200,
         "Could not configure the port: " + systemText(ENOTTY)},
        {"attributes refused",
         [](SyscallFaults &f) { f.tcsetattr = [](int, int) { return SyscallFaults::fail(EIO); }; }, 9600,
         "Could not configure the port: " + systemText(EIO)},
        {"arbitrary speed refused",
         [](SyscallFaults &f) {
             f.ioctl = [](int, int fd, unsigned long request, void *argument) {
                 return isSetSpeedRequest(request) ? SyscallFaults::fail(EINVAL)
                                                   : cserial_real_syscalls.ioctl(fd, request, argument);
             };
         },
         250000, "Could not configure the port: " + systemText(EINVAL)},
        {"modem lines refused (ignored)",
         [](SyscallFaults &f) {
             f.ioctl = [](int, int fd, unsigned long request, void *argument) {
                 return request == TIOCMGET ? SyscallFaults::fail(EIO)
                                            : cserial_real_syscalls.ioctl(fd, request, argument);
             };
         },
         115200, "(success)"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        SyscallFaults faults;
        c.script(faults);
        auto transport = transportOn(path);
        EXPECT_EQ(english(transport->open(settings(c.baud))), c.expected);
        EXPECT_EQ(transport->isOpen(), c.expected == "(success)");
        transport->close();
        EXPECT_TRUE(faults.openDescriptors().empty());
    }
}
