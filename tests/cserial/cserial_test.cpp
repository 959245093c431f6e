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

struct Slave {
    PtyPair pty;
    int fd = cserial_open(pty.slavePath().toLocal8Bit().constData());
    ~Slave() { cserial_close(fd); }
    termios attributes() const
    {
        termios tio{};
        EXPECT_EQ(tcgetattr(fd, &tio), 0);
        return tio;
    }
};

} // namespace

TEST(Cserial, ConfigurationBitsLandInTheirFlagWords)
{
    const struct {
        int baud, parity, stopBits, flowControl;
        bool stopb, parodd, crtscts, ixonIxoff;
    } rows[] = {
        {9600, 0, 1, 0, false, false, false, false},  {4800, 1, 1, 0, false, false, false, false},
        {115200, 2, 1, 0, false, true, false, false}, {110, 3, 1, 0, false, false, false, false}, // mark as none
        {9600, 4, 2, 0, true, false, false, false},   // space as none too
        {9600, 0, 2, 1, true, false, false, true},    {9600, 2, 2, 2, true, true, true, false},
        {9600, 0, 1, 9, false, false, false, false},  // unknown flow control is none
        {9600, 0, 3, 1, false, false, false, true},   // only 2 means two stop bits
    };
    for (const auto &r : rows) {
        SCOPED_TRACE(testing::Message() << r.baud << " parity " << r.parity << " stop " << r.stopBits << " flow "
                                        << r.flowControl);
        Slave slave;
        ASSERT_GE(slave.fd, 0) << slave.pty.error().toStdString();
        // Set every bit the configuration has to clear; the pty keeps them, so a forgotten clear shows.
        termios dirty = slave.attributes();
        dirty.c_iflag |= IXON | IXOFF | IXANY | INPCK | ISTRIP | ICRNL | BRKINT;
        dirty.c_oflag |= OPOST;
        dirty.c_lflag |= ECHO | ICANON | ISIG | IEXTEN;
        dirty.c_cflag |= CSTOPB | PARODD | CRTSCTS;
        ASSERT_EQ(tcsetattr(slave.fd, TCSANOW, &dirty), 0);
        ASSERT_EQ(slave.attributes().c_cflag & (CSTOPB | PARODD | CRTSCTS), tcflag_t(CSTOPB | PARODD | CRTSCTS));
        // A pty has no modem lines: setting DTR/RTS fails, and that must not fail the configuration.
        int bits = 0;
        ASSERT_LT(ioctl(slave.fd, TIOCMGET, &bits), 0);

        ASSERT_EQ(cserial_configure(slave.fd, r.baud, 8, r.parity, r.stopBits, r.flowControl, true, true), 0);
        const termios tio = slave.attributes();
        EXPECT_EQ(bool(tio.c_cflag & CSTOPB), r.stopb);
        EXPECT_EQ(bool(tio.c_cflag & PARODD), r.parodd);
        EXPECT_EQ(bool(tio.c_cflag & CRTSCTS), r.crtscts);
        EXPECT_EQ(bool(tio.c_iflag & IXON), r.ixonIxoff);
        EXPECT_EQ(bool(tio.c_iflag & IXOFF), r.ixonIxoff);
        EXPECT_FALSE(tio.c_iflag & IXANY);
        EXPECT_EQ(tio.c_iflag & (INPCK | ISTRIP | ICRNL | INLCR | IGNCR | BRKINT | PARMRK | IGNBRK), 0u);
        EXPECT_EQ(tio.c_oflag & OPOST, 0u);
        EXPECT_EQ(tio.c_lflag & (ECHO | ECHONL | ICANON | ISIG | IEXTEN), 0u);
        EXPECT_EQ(tio.c_cflag & (CREAD | CLOCAL | CSIZE), tcflag_t(CREAD | CLOCAL | CS8));
        EXPECT_EQ(tio.c_cc[VMIN], 1);
        EXPECT_EQ(tio.c_cc[VTIME], 0);
        EXPECT_EQ(cfgetospeed(&tio), cfgetispeed(&tio));
        EXPECT_EQ(cfgetospeed(&tio), r.baud == 9600 ? B9600 : r.baud == 4800 ? B4800 : r.baud == 110 ? B110 : B115200);
    }
}

// Held lines and hang-ups are followed through the transport on the same pty.
TEST(Cserial, ConfigureDiscardsWhatWasQueuedAndWritesReachThePeer)
{
    Slave slave;
    ASSERT_GE(slave.fd, 0) << slave.pty.error().toStdString();
    ASSERT_EQ(::write(slave.pty.masterFd(), "stale", 5), 5);
    usleep(20000); // let the pty move the bytes to the slave's input
    ASSERT_EQ(cserial_configure(slave.fd, 9600, 8, 0, 1, 1, true, true), 0);
    char c = 0;
    errno = 0;
    EXPECT_LT(::read(slave.fd, &c, 1), 0);
    EXPECT_EQ(errno, EAGAIN);

    EXPECT_EQ(cserial_write(slave.fd, "G0 X1\r\n", 7), 7);
    char got[16] = {};
    ssize_t n = -1;
    for (int i = 0; i < 100 && n < 0; ++i) {
        n = ::read(slave.pty.masterFd(), got, sizeof got);
        usleep(n < 0 ? 2000 : 0);
    }
    EXPECT_EQ(QByteArray(got, int(n)), QByteArray("G0 X1\r\n"));
    EXPECT_EQ(cserial_output_pending(slave.fd), 0);
}

// Missing devices and non-terminals are reported through the transport with their texts.
TEST(Cserial, OpensNonBlockingCloseOnExecAndClosesOnlyRealDescriptors)
{
    errno = 0;
    cserial_close(-1);
    EXPECT_EQ(errno, 0); // not even a close(2) that would set EBADF
    errno = 0;
    EXPECT_EQ(cserial_output_pending(-1), -1);
    Slave slave;
    ASSERT_GE(slave.fd, 0);
    EXPECT_TRUE(fcntl(slave.fd, F_GETFL) & O_NONBLOCK);
    EXPECT_TRUE(fcntl(slave.fd, F_GETFD) & FD_CLOEXEC);
    cserial_close(slave.fd);
    EXPECT_EQ(fcntl(slave.fd, F_GETFD), -1); // really closed
    slave.fd = -1;
}
