#ifndef VARN_CSERIAL_ARBITRARYSPEED_H
#define VARN_CSERIAL_ARBITRARYSPEED_H

/*
 * Kept in its own translation unit: the kernel's <asm/termbits.h> (termios2,
 * BOTHER) redefines struct termios and cannot share a file with <termios.h>.
 */

/* Sets both directions to `baud` bits per second through termios2/BOTHER. 0 or -1 with errno. */
int cserial_set_arbitrary_speed(int fd, int baud);

#endif
