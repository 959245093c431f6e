// Reading from the machine: the driver's error marks, byte-exact bursts, cancel.
#include "ptypair.h"
#include "transport/parmrkdecoder.h"
#include "transport/posixserialtransport.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <random>
#include <thread>

using namespace std::chrono_literals;

namespace {

// Writes everything to the master, waiting while the slave's queue is full.
void writeAll(int fd, const QByteArray &bytes)
{
    qsizetype offset = 0;
    while (offset < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + offset, size_t(bytes.size() - offset));
        if (n > 0) {
            offset += n;
        } else {
            pollfd p{fd, POLLOUT, 0};
            ::poll(&p, 1, 100);
        }
    }
}

ReceivedBytes readUntil(PosixSerialTransport &transport, qsizetype size)
{
    ReceivedBytes rx;
    for (int idle = 0; rx.bytes.size() < size && idle < 40;) {
        const qsizetype before = rx.bytes.size();
        EXPECT_FALSE(transport.read(rx, 50ms).has_value());
        idle = rx.bytes.size() == before ? idle + 1 : 0;
    }
    return rx;
}

SerialLineSettings marked(int flowControl = 0)
{
    return SerialLineSettings{.baudRate = 115200, .flowControl = flowControl, .markErrors = true};
}

} // namespace

TEST(ParmrkDecoder, MarksAndDoubledBytesDecodeWhereverTheReadsSplitThem)
{
    struct Case {
        QByteArray in;
        QByteArray bytes;
        QList<qsizetype> errors;
    };
    const Case cases[] = {
        {"G1X5", "G1X5", {}},
        {QByteArray("A\xFF\x00" "BC", 5), "ABC", {1}},
        {QByteArray("\xFF\xFF\xFF\x00\x00", 5), QByteArray("\xFF\x00", 2), {1}}, // 0xFF, then a break
        {QByteArray("X\xFF" "Y", 3), QByteArray("X\xFF" "Y", 3), {}},             // not a mark: kept
        {QByteArray("\xFF\x00" "a\xFF\x00" "b", 6), "ab", {0, 1}},
    };
    for (const Case &c : cases) {
        for (qsizetype split = 0; split <= c.in.size(); ++split) {
            ParmrkDecoder decoder;
            ReceivedBytes out;
            decoder.decode(c.in.constData(), split, out);
            decoder.decode(c.in.constData() + split, c.in.size() - split, out);
            EXPECT_EQ(out.bytes, c.bytes) << c.in.toHex().constData() << " split at " << split;
            EXPECT_EQ(out.errorOffsets, c.errors) << c.in.toHex().constData() << " split at " << split;
        }
    }
}

TEST(PosixSerialTransportRead, MarkedCharactersFromTheDriverBecomeErrorOffsets)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen()) << pty.error().toStdString();
    PosixSerialTransport transport(pty.slavePath());
    ASSERT_FALSE(transport.open(marked()).has_value());

    // A genuine 0xFF goes through the kernel's own doubling and comes back single.
    writeAll(pty.masterFd(), QByteArray("N1\xFF\n", 4));
    EXPECT_EQ(readUntil(transport, 4).bytes, QByteArray("N1\xFF\n", 4));

    // A pty cannot damage a character, so the marks the driver would insert
    // are written by the machine itself with the doubling switched off.
    termios tio{};
    ASSERT_EQ(tcgetattr(pty.slaveKeeperFd(), &tio), 0);
    EXPECT_TRUE(tio.c_iflag & PARMRK);
    tio.c_iflag &= ~tcflag_t(PARMRK);
    ASSERT_EQ(tcsetattr(pty.slaveKeeperFd(), TCSANOW, &tio), 0);
    writeAll(pty.masterFd(), QByteArray("G1X1\n\xFF\x00Y2\n\xFF\xFF", 12));
    const ReceivedBytes rx = readUntil(transport, 9);
    EXPECT_EQ(rx.bytes, QByteArray("G1X1\nY2\n\xFF", 9));
    EXPECT_EQ(rx.errorOffsets, QList<qsizetype>{5});
}

TEST(PosixSerialTransportRead, RandomBurstsArriveByteExact)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    PosixSerialTransport transport(pty.slavePath());
    ASSERT_FALSE(transport.open(marked()).has_value());

    std::mt19937 random(12);
    QByteArray payload(1 << 20, Qt::Uninitialized);
    for (char &c : payload) {
        c = char(random() & 0xFF); // 0xFF bytes included: they go through the doubling
    }
    std::thread machine([&] {
        std::mt19937 sizes(7);
        for (qsizetype at = 0; at < payload.size();) {
            const qsizetype n = std::min<qsizetype>(1 + sizes() % 9000, payload.size() - at);
            writeAll(pty.masterFd(), payload.mid(at, n));
            at += n;
            if (sizes() % 4 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(sizes() % 3000));
            }
        }
    });
    const ReceivedBytes rx = readUntil(transport, payload.size());
    machine.join();
    EXPECT_TRUE(rx.bytes == payload) << rx.bytes.size() << " of " << payload.size();
    EXPECT_TRUE(rx.errorOffsets.isEmpty());
}

TEST(PosixSerialTransportRead, InterruptEndsAWaitForTheFirstCharacterQuickly)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    PosixSerialTransport transport(pty.slavePath());
    ASSERT_FALSE(transport.open(marked(1)).has_value());
    std::thread canceller([&] {
        std::this_thread::sleep_for(100ms);
        transport.interrupt();
    });
    const auto start = std::chrono::steady_clock::now();
    ReceivedBytes rx;
    const auto error = transport.read(rx, 30s);
    const auto took = std::chrono::steady_clock::now() - start;
    canceller.join();
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, TransportError::Kind::cancelled);
    EXPECT_LT(took, 100ms + 200ms);
}

TEST(PosixSerialTransportRead, HangUpIsAReadErrorAfterTheLastBytes)
{
    PtyPair pty;
    ASSERT_TRUE(pty.isOpen());
    PosixSerialTransport transport(pty.slavePath());
    ASSERT_FALSE(transport.open(marked()).has_value());
    writeAll(pty.masterFd(), "M30\n");
    const ReceivedBytes rx = readUntil(transport, 4);
    EXPECT_EQ(rx.bytes, "M30\n");
    pty.closeMaster();
    ReceivedBytes more;
    const auto error = transport.read(more, 1s);
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->kind, TransportError::Kind::readFailed);
}
