#define _DEFAULT_SOURCE

#include "cserial.h"

#include "arbitraryspeed.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

static int realOpen(const char *path, int flags)
{
    return open(path, flags);
}

static ssize_t realWrite(int fd, const void *buffer, size_t length)
{
    return write(fd, buffer, length);
}

static int realPoll(struct pollfd *fds, unsigned long count, int timeoutMilliseconds)
{
    return poll(fds, (nfds_t)count, timeoutMilliseconds);
}

static int realIoctl(int fd, unsigned long request, void *argument)
{
    return ioctl(fd, request, argument);
}

static int realTcsetattr(int fd, int when, const struct termios *attributes)
{
    return tcsetattr(fd, when, attributes);
}

static ssize_t realRead(int fd, void *buffer, size_t length)
{
    return read(fd, buffer, length);
}

const struct cserial_syscall_table cserial_real_syscalls = {
    realOpen, realWrite, realPoll, realIoctl, tcgetattr, realTcsetattr, close, realRead,
};

struct cserial_syscall_table cserial_syscalls = {
    realOpen, realWrite, realPoll, realIoctl, tcgetattr, realTcsetattr, close, realRead,
};

int cserial_open(const char *path)
{
    /* Non-blocking stays on: the transport polls instead of blocking, so a
     * cancel is noticed while the machine holds the line. Close-on-exec: a
     * program started during a transfer must not inherit the machine's line. */
    return cserial_syscalls.open(path, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
}

static speed_t standardSpeed(int baud)
{
    switch (baud) {
    case 110:
        return B110;
    case 300:
        return B300;
    case 600:
        return B600;
    case 1200:
        return B1200;
    case 2400:
        return B2400;
    case 4800:
        return B4800;
    case 9600:
        return B9600;
    case 19200:
        return B19200;
    case 38400:
        return B38400;
    case 57600:
        return B57600;
    case 115200:
        return B115200;
    default:
        return B0;
    }
}

static tcflag_t characterSize(int dataBits)
{
    switch (dataBits) {
    case 5:
        return CS5;
    case 6:
        return CS6;
    case 7:
        return CS7;
    default:
        return CS8;
    }
}

static void setModemLines(int fd, bool dtr, bool rts, int flowControl)
{
    int bits = 0;
    /* Drivers without modem lines (ptys, some adapters) refuse this; the line still works. */
    if (cserial_syscalls.ioctl(fd, TIOCMGET, &bits) < 0) {
        return;
    }
    if (dtr) {
        bits |= TIOCM_DTR;
    } else {
        bits &= ~TIOCM_DTR;
    }
    /* Under RTS/CTS the driver owns RTS; touching it would fight the handshake. */
    if (flowControl != 2) {
        if (rts) {
            bits |= TIOCM_RTS;
        } else {
            bits &= ~TIOCM_RTS;
        }
    }
    (void)cserial_syscalls.ioctl(fd, TIOCMSET, &bits);
}

int cserial_configure(int fd, int baud, int dataBits, int parity, int stopBits, int flowControl, bool dtr,
                      bool rts)
{
    struct termios tio;
    if (cserial_syscalls.tcgetattr(fd, &tio) < 0) {
        return -1;
    }

    /* Raw mode: no echo, no CR/LF translation, no signal characters; VMIN 1, VTIME 0. */
    cfmakeraw(&tio);

    /* Receiver on, modem status lines ignored. */
    tio.c_cflag &= ~(tcflag_t)(CSIZE | CREAD | CLOCAL);
    tio.c_cflag |= CREAD | CLOCAL | characterSize(dataBits);

    tio.c_cflag &= ~(tcflag_t)CSTOPB;
    if (stopBits == 2) {
        tio.c_cflag |= CSTOPB;
    }

    /* Mark and space are stored in the profile but deliberately reach the port as no parity. */
    tio.c_cflag &= ~(tcflag_t)(PARENB | PARODD);
    if (parity == 1) {
        tio.c_cflag |= PARENB;
    } else if (parity == 2) {
        tio.c_cflag |= PARENB | PARODD;
    }

    /* Software handshake lives in the input flags, hardware handshake in the control flags. */
    tio.c_iflag &= ~(tcflag_t)(IXON | IXOFF | IXANY);
    tio.c_cflag &= ~(tcflag_t)CRTSCTS;
    if (flowControl == 2) {
        tio.c_cflag |= CRTSCTS;
    } else if (flowControl == 1) {
        tio.c_iflag |= IXON | IXOFF;
    }

    tio.c_iflag &= ~(tcflag_t)(INPCK | ISTRIP);

    /* After an arbitrary speed the kernel keeps BOTHER in the input-speed bits, and a
     * standard speed set through the old interface would leave the input speed behind.
     * With CIBAUD clear the input speed follows the output speed. */
    tio.c_cflag &= ~(tcflag_t)CIBAUD;

    const speed_t speed = standardSpeed(baud);
    if (speed != B0) {
        cfsetispeed(&tio, speed);
        cfsetospeed(&tio, speed);
        if (cserial_syscalls.tcsetattr(fd, TCSANOW, &tio) < 0) {
            return -1;
        }
    } else {
        if (cserial_syscalls.tcsetattr(fd, TCSANOW, &tio) < 0) {
            return -1;
        }
        if (cserial_set_arbitrary_speed(fd, baud) < 0) {
            return -1;
        }
    }

    setModemLines(fd, dtr, rts, flowControl);

    /* Whatever an earlier session left in the queues is not part of this program. */
    (void)tcflush(fd, TCIOFLUSH);
    return 0;
}

ssize_t cserial_write(int fd, const void *buffer, size_t length)
{
    return cserial_syscalls.write(fd, buffer, length);
}

int cserial_wait_writable(int fd, int timeoutMilliseconds)
{
    struct pollfd p;
    p.fd = fd;
    p.events = POLLOUT;
    p.revents = 0;
    const int ready = cserial_syscalls.poll(&p, 1, timeoutMilliseconds);
    if (ready < 0) {
        return -1;
    }
    if (ready == 0) {
        return 0;
    }
    if (p.revents & (POLLERR | POLLHUP | POLLNVAL)) {
        /* No call failed, so errno says nothing yet; the line is gone, report it as I/O error. */
        errno = (p.revents & POLLNVAL) ? EBADF : EIO;
        return -1;
    }
    return 1;
}

ssize_t cserial_read(int fd, void *buffer, size_t length)
{
    return cserial_syscalls.read(fd, buffer, length);
}

int cserial_wait_readable(int fd, int timeoutMilliseconds)
{
    struct pollfd p;
    p.fd = fd;
    p.events = POLLIN;
    p.revents = 0;
    const int ready = cserial_syscalls.poll(&p, 1, timeoutMilliseconds);
    if (ready < 0) {
        return -1;
    }
    if (ready == 0) {
        return 0;
    }
    /* Data first: the last characters before a hang-up are still the program's. */
    if (p.revents & POLLIN) {
        return 1;
    }
    if (p.revents & (POLLERR | POLLHUP | POLLNVAL)) {
        errno = (p.revents & POLLNVAL) ? EBADF : EIO;
        return -1;
    }
    return 1;
}

int cserial_mark_errors(int fd)
{
    struct termios tio;
    if (cserial_syscalls.tcgetattr(fd, &tio) < 0) {
        return -1;
    }
    /* IGNPAR would drop the damaged characters, ISTRIP would turn a genuine 0xFF
     * into 0x7F and break the doubling: neither may be on. */
    tio.c_iflag &= ~(tcflag_t)(IGNPAR | ISTRIP | IGNBRK | BRKINT);
    tio.c_iflag |= PARMRK;
    if (tio.c_cflag & PARENB) {
        tio.c_iflag |= INPCK;
    }
    if (cserial_syscalls.tcsetattr(fd, TCSANOW, &tio) < 0) {
        return -1;
    }
    (void)tcflush(fd, TCIFLUSH);
    return 0;
}

int cserial_output_pending(int fd)
{
    int pending = 0;
    if (cserial_syscalls.ioctl(fd, TIOCOUTQ, &pending) < 0) {
        return -1;
    }
    return pending;
}

int cserial_set_low_latency(int fd)
{
    struct serial_struct info;
    if (cserial_syscalls.ioctl(fd, TIOCGSERIAL, &info) < 0) {
        return -1;
    }
    if (info.flags & ASYNC_LOW_LATENCY) {
        return 0;
    }
    info.flags |= ASYNC_LOW_LATENCY;
    if (cserial_syscalls.ioctl(fd, TIOCSSERIAL, &info) < 0) {
        return -1;
    }
    return 1;
}

void cserial_close(int fd)
{
    if (fd < 0) {
        return;
    }
    /* Don't retry close() on EINTR: the descriptor is already released. */
    (void)cserial_syscalls.close(fd);
}
