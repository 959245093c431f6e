// The primitives against a real pseudo-terminal: configure, then read the
// attributes back and check each bit landed where it must.
#include "ptypair.h"
#include "cserial.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

struct SlaveFd {
    int fd = -1;
    explicit SlaveFd(const QString &path) : fd(cserial_open(path.toLocal8Bit().constData())) {}
    ~SlaveFd() { cserial_close(fd); }
};

termios attributes(int fd)
{
    termios tio{};
    EXPECT_EQ(tcgetattr(fd, &tio), 0);
    return tio;
}

// Sets every bit the configuration has to clear, so a forgotten clear shows up.
void dirty(int fd)
{
    termios tio = attributes(fd);
    tio.c_iflag |= IXON | IXOFF | IXANY | INPCK | ISTRIP | ICRNL | BRKINT;
    tio.c_oflag |= OPOST;
    tio.c_lflag |= ECHO | ICANON | ISIG | IEXTEN;
    tio.c_cflag |= CSTOPB | PARODD | CRTSCTS;
    ASSERT_EQ(tcsetattr(fd, TCSANOW, &tio), 0);
}

struct LineCase {
    int parity;
    int stopBits;
    int flowControl;
    bool stopb;
    bool parodd;
    bool crtscts;
    bool ixonIxoff;
};

class CserialConfigure : public ::testing::TestWithParam<LineCase> {};

} // namespace

TEST_P(CserialConfigure, BitsLandInTheirFlagWords)
{
    const LineCase c = GetParam();
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    ASSERT_GE(slave.fd, 0);
    dirty(slave.fd);
    // The pty must keep what we check, or the test proves nothing.
    const termios before = attributes(slave.fd);
    ASSERT_TRUE(before.c_cflag & CSTOPB);
    ASSERT_TRUE(before.c_cflag & PARODD);
    ASSERT_TRUE(before.c_cflag & CRTSCTS);
    ASSERT_TRUE(before.c_iflag & IXANY);

    ASSERT_EQ(cserial_configure(slave.fd, 9600, 8, c.parity, c.stopBits, c.flowControl, true, false), 0);
    const termios tio = attributes(slave.fd);

    EXPECT_EQ(bool(tio.c_cflag & CSTOPB), c.stopb);
    EXPECT_EQ(bool(tio.c_cflag & PARODD), c.parodd);
    EXPECT_EQ(bool(tio.c_cflag & CRTSCTS), c.crtscts);
    EXPECT_EQ(bool(tio.c_iflag & IXON), c.ixonIxoff);
    EXPECT_EQ(bool(tio.c_iflag & IXOFF), c.ixonIxoff);
    EXPECT_FALSE(tio.c_iflag & IXANY);

    // Raw mode and the receiver.
    EXPECT_EQ(tio.c_iflag & (INPCK | ISTRIP | ICRNL | INLCR | IGNCR | BRKINT | PARMRK | IGNBRK), 0u);
    EXPECT_EQ(tio.c_oflag & OPOST, 0u);
    EXPECT_EQ(tio.c_lflag & (ECHO | ECHONL | ICANON | ISIG | IEXTEN), 0u);
    EXPECT_EQ(tio.c_cflag & (CREAD | CLOCAL), tcflag_t(CREAD | CLOCAL));
    EXPECT_EQ(tio.c_cflag & CSIZE, tcflag_t(CS8));
    EXPECT_EQ(tio.c_cc[VMIN], 1);
    EXPECT_EQ(tio.c_cc[VTIME], 0);
}

INSTANTIATE_TEST_SUITE_P(Lines, CserialConfigure,
                         ::testing::Values(
                             // parity stop flow | CSTOPB PARODD CRTSCTS IXON|IXOFF
                             LineCase{0, 1, 0, false, false, false, false},
                             LineCase{1, 1, 0, false, false, false, false},
                             LineCase{2, 1, 0, false, true, false, false},
                             LineCase{3, 1, 0, false, false, false, false}, // mark reaches the port as none
                             LineCase{4, 2, 0, true, false, false, false},  // space too
                             LineCase{0, 2, 1, true, false, false, true},
                             LineCase{2, 2, 2, true, true, true, false},
                             LineCase{0, 1, 9, false, false, false, false}, // unknown flow control is none
                             LineCase{0, 3, 1, false, false, false, true}   // only 2 means two stop bits
                             ));

TEST(Cserial, StandardSpeedSetsBothDirections)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    for (const auto &[baud, code] :
         {std::pair{4800, B4800}, std::pair{115200, B115200}, std::pair{110, B110}}) {
        ASSERT_EQ(cserial_configure(slave.fd, baud, 8, 0, 1, 0, true, true), 0) << baud;
        const termios tio = attributes(slave.fd);
        EXPECT_EQ(cfgetospeed(&tio), code) << baud;
        EXPECT_EQ(cfgetispeed(&tio), code) << baud;
    }
}

TEST(Cserial, ModemLineRefusalIsIgnored)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    int bits = 0;
    errno = 0;
    // A pty has no modem lines; that is the failure path under test.
    ASSERT_LT(ioctl(slave.fd, TIOCMGET, &bits), 0);
    ASSERT_EQ(errno, ENOTTY);
    EXPECT_EQ(cserial_configure(slave.fd, 19200, 7, 1, 1, 2, false, false), 0);
}

TEST(Cserial, ConfigureDiscardsWhatWasQueued)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    ASSERT_EQ(::write(pty.masterFd(), "stale", 5), 5);
    usleep(20000); // let the pty move the bytes to the slave's input
    ASSERT_EQ(cserial_configure(slave.fd, 9600, 8, 0, 1, 0, true, true), 0);
    char c = 0;
    errno = 0;
    EXPECT_LT(::read(slave.fd, &c, 1), 0);
    EXPECT_EQ(errno, EAGAIN);
}

TEST(Cserial, ConfigureOnSomethingThatIsNoTerminalFails)
{
    const int fd = ::open("/dev/null", O_RDWR);
    ASSERT_GE(fd, 0);
    errno = 0;
    EXPECT_EQ(cserial_configure(fd, 9600, 8, 0, 1, 0, true, true), -1);
    EXPECT_EQ(errno, ENOTTY);
    errno = 0;
    EXPECT_EQ(cserial_output_pending(fd), -1);
    EXPECT_EQ(errno, ENOTTY);
    ::close(fd);
}

TEST(Cserial, WriteReachesThePeerAndQueueReadsEmpty)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    ASSERT_EQ(cserial_configure(slave.fd, 9600, 8, 0, 1, 0, true, true), 0);
    EXPECT_EQ(cserial_write(slave.fd, "G0 X1\r\n", 7), 7);
    char got[16] = {};
    ssize_t n = -1;
    for (int i = 0; i < 100 && n < 0; ++i) {
        n = ::read(pty.masterFd(), got, sizeof got);
        if (n < 0) {
            usleep(2000);
        }
    }
    EXPECT_EQ(QByteArray(got, int(n)), QByteArray("G0 X1\r\n"));
    EXPECT_EQ(cserial_output_pending(slave.fd), 0);
}

TEST(Cserial, WaitWritableReportsReadyHeldAndHangUp)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    SlaveFd slave(pty.slavePath());
    ASSERT_EQ(cserial_configure(slave.fd, 9600, 8, 0, 1, 1, true, true), 0);
    EXPECT_EQ(cserial_wait_writable(slave.fd, 0), 1);

    // The machine holds the line: nothing can go out, the wait times out.
    ASSERT_EQ(::write(pty.masterFd(), "\x13", 1), 1);
    usleep(30000);
    EXPECT_EQ(cserial_wait_writable(slave.fd, 0), 0);
    EXPECT_EQ(cserial_wait_writable(slave.fd, 30), 0);
    ASSERT_EQ(::write(pty.masterFd(), "\x11", 1), 1);
    usleep(30000);
    EXPECT_EQ(cserial_wait_writable(slave.fd, 0), 1);

    pty.closeMaster();
    errno = 0;
    EXPECT_EQ(cserial_wait_writable(slave.fd, 1000), -1);
    EXPECT_NE(errno, 0);
}

TEST(Cserial, OpenAndCloseEdges)
{
    errno = 0;
    EXPECT_EQ(cserial_open("/nonexistent/varn-no-such-port"), -1);
    EXPECT_EQ(errno, ENOENT);

    errno = 0;
    cserial_close(-1);
    EXPECT_EQ(errno, 0); // not even a close(2) that would set EBADF

    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const int fd = cserial_open(pty.slavePath().toLocal8Bit().constData());
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(fcntl(fd, F_GETFL) & O_NONBLOCK);
    EXPECT_TRUE(fcntl(fd, F_GETFD) & FD_CLOEXEC);
    cserial_close(fd);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1); // really closed
}
