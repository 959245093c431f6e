#include "arbitraryspeed.h"

#include "cserial.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

int cserial_set_arbitrary_speed(int fd, int baud)
{
    struct termios2 tio;
    if (cserial_syscalls.ioctl(fd, TCGETS2, &tio) < 0) {
        return -1;
    }
    /* Both directions explicit: leaving CIBAUD alone would keep an older input speed. */
    tio.c_cflag &= ~(tcflag_t)(CBAUD | CIBAUD);
    tio.c_cflag |= BOTHER | ((tcflag_t)BOTHER << IBSHIFT);
    tio.c_ispeed = (speed_t)baud;
    tio.c_ospeed = (speed_t)baud;
    if (cserial_syscalls.ioctl(fd, TCSETS2, &tio) < 0) {
        return -1;
    }
    return 0;
}
