#ifndef VARN_CSERIAL_H
#define VARN_CSERIAL_H

/*
 * Raw serial primitives over termios, ioctl and poll. Plain integers in and
 * out, no state, no allocation: every function returns -1 on failure and
 * leaves the cause in errno for the caller to turn into a message.
 *
 * Integer codes of cserial_configure:
 *   parity       0 none, 1 even, 2 odd; anything else (3 mark, 4 space) is none
 *   flowControl  0 none, 1 XON/XOFF, 2 RTS/CTS; anything else is none
 *   stopBits     2 is two stop bits; anything else is one
 *   dataBits     5, 6, 7; anything else is 8
 */

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Opens read/write, not as controlling terminal, non-blocking for good. No exclusive lock. */
int cserial_open(const char *path);

/* Raw line with the given framing, speed, flow control and modem lines; flushes both queues. */
int cserial_configure(int fd, int baud, int dataBits, int parity, int stopBits, int flowControl, bool dtr,
                      bool rts);

/* One write(2) of up to length bytes; EAGAIN means the driver's buffer is full. */
ssize_t cserial_write(int fd, const void *buffer, size_t length);

/* 1 writable, 0 time-out, -1 failure (poll failed, or error/hang-up/invalid descriptor). */
int cserial_wait_writable(int fd, int timeoutMilliseconds);

/* Bytes still queued for output in the driver, or -1 when the driver cannot say. */
int cserial_output_pending(int fd);

/* One read(2) of up to length bytes; EAGAIN means nothing has arrived yet. */
ssize_t cserial_read(int fd, void *buffer, size_t length);

/* 1 readable, 0 time-out, -1 failure (poll failed, or error/hang-up/invalid descriptor).
 * Bytes still queued before a hang-up count as readable, so none is lost to it. */
int cserial_wait_readable(int fd, int timeoutMilliseconds);

/*
 * Has the driver mark every character received with a parity or framing error
 * (and a break) instead of passing or dropping it silently: such a character c
 * arrives as 0xFF 0x00 c, and a genuine 0xFF byte as 0xFF 0xFF. Parity is
 * checked only when the line has parity. Discards input queued so far, which
 * was read without the marks.
 */
int cserial_mark_errors(int fd);
/*
 * Asks the driver to pass on received bytes at once (ASYNC_LOW_LATENCY); an
 * FTDI adapter then drops its latency timer from 16 ms to 1 ms, so an XOFF
 * reaches the sender that much sooner. 1 newly set, 0 already set, -1 not
 * possible (ENOTTY on a pty or a driver without it, EPERM when refused).
 */
int cserial_set_low_latency(int fd);

/* Closes the descriptor; a negative one is ignored. */
void cserial_close(int fd);

/*
 * Every system call the primitives make goes through this table, so a test can
 * make any one of them fail (EINTR, a short write, EAGAIN for ever, EIO) at the
 * call it chooses, without a device that misbehaves on cue. The table starts
 * out holding the real calls and the program never changes it; the cost is one
 * indirect call next to a system call. A test that swaps an entry restores it
 * before any other thread uses the primitives again.
 *
 * The termios and pollfd structures stay opaque here so that only this folder
 * includes <termios.h>.
 */
struct termios;
struct pollfd;

struct cserial_syscall_table {
    int (*open)(const char *path, int flags);
    ssize_t (*write)(int fd, const void *buffer, size_t length);
    int (*poll)(struct pollfd *fds, unsigned long count, int timeoutMilliseconds);
    int (*ioctl)(int fd, unsigned long request, void *argument);
    int (*tcgetattr)(int fd, struct termios *attributes);
    int (*tcsetattr)(int fd, int when, const struct termios *attributes);
    int (*close)(int fd);
    ssize_t (*read)(int fd, void *buffer, size_t length);
};

extern struct cserial_syscall_table cserial_syscalls;

/* The real calls, for restoring the table after a test. */
extern const struct cserial_syscall_table cserial_real_syscalls;

#ifdef __cplusplus
}
#endif

#endif
