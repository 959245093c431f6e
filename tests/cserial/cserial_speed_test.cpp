// Arbitrary speeds, read back through termios2. Kept apart from the other
// primitive tests because <asm/termbits.h> cannot share a file with <termios.h>.
#include "ptypair.h"
#include "cserial.h"

#include <asm/termbits.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

namespace {

struct termios2 speeds(int fd)
{
    struct termios2 tio {};
    EXPECT_EQ(ioctl(fd, TCGETS2, &tio), 0);
    return tio;
}

} // namespace

TEST(CserialSpeed, ArbitrarySpeedReadsBackExactlyInBothDirections)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const int fd = cserial_open(pty.slavePath().toLocal8Bit().constData());
    ASSERT_GE(fd, 0);
    for (const int baud : {250000, 31250, 1000000}) {
        ASSERT_EQ(cserial_configure(fd, baud, 8, 0, 1, 1, true, true), 0) << baud;
        const struct termios2 tio = speeds(fd);
        EXPECT_EQ(tio.c_cflag & CBAUD, tcflag_t(BOTHER)) << baud;
        EXPECT_EQ(tio.c_ospeed, speed_t(baud));
        EXPECT_EQ(tio.c_ispeed, speed_t(baud));
        // The other attributes were applied before the speed.
        EXPECT_TRUE(tio.c_iflag & IXON);
    }
    cserial_close(fd);
}

TEST(CserialSpeed, InputSpeedFollowsWhenGoingBackToAStandardSpeed)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    const int fd = cserial_open(pty.slavePath().toLocal8Bit().constData());
    ASSERT_GE(fd, 0);
    ASSERT_EQ(cserial_configure(fd, 250000, 8, 0, 1, 0, true, true), 0);
    ASSERT_EQ(cserial_configure(fd, 9600, 8, 0, 1, 0, true, true), 0);
    const struct termios2 tio = speeds(fd);
    EXPECT_EQ(tio.c_cflag & CBAUD, tcflag_t(B9600));
    EXPECT_EQ(tio.c_ospeed, 9600u);
    EXPECT_EQ(tio.c_ispeed, 9600u);
    cserial_close(fd);
}
