// Arbitrary speeds, read back through termios2. Kept apart from the other
// primitive tests because <asm/termbits.h> cannot share a file with <termios.h>.
#include "ptypair.h"
#include "cserial.h"

#include <asm/termbits.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

TEST(CserialSpeed, ArbitrarySpeedsReadBackExactlyAndAStandardOneAfterwardsSetsBothDirections)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const int fd = cserial_open(pty.slavePath().toLocal8Bit().constData());
    ASSERT_GE(fd, 0);
    // The input speed must follow back to 9600, which needs CIBAUD cleared.
    for (const int baud : {250000, 31250, 1000000, 9600}) {
        ASSERT_EQ(cserial_configure(fd, baud, 8, 0, 1, 1, true, true), 0) << baud;
        struct termios2 tio {};
        ASSERT_EQ(ioctl(fd, TCGETS2, &tio), 0);
        EXPECT_EQ(tio.c_cflag & CBAUD, tcflag_t(baud == 9600 ? B9600 : BOTHER)) << baud;
        EXPECT_EQ(tio.c_ospeed, speed_t(baud));
        EXPECT_EQ(tio.c_ispeed, speed_t(baud));
        EXPECT_TRUE(tio.c_iflag & IXON); // the other attributes were applied before the speed
    }
    cserial_close(fd);
}
