// The network transport against ser2net serving a pty on 127.0.0.1, with the
// machine played on the pty's master; and its pure pieces, address and Telnet.
#include "machineemulator.h"
#include "ptypair.h"
#include "transport/networkaddress.h"
#include "transport/networkserialtransport.h"
#include "transport/telnetcodec.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QStandardPaths>

#include <gtest/gtest.h>

#include <csignal>
#include <future>
#include <netinet/in.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Protocol = NetworkAddress::Protocol;

namespace {

quint16 freeLocalPort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
    ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length);
    ::close(fd);
    return ntohs(address.sin_port);
}

// ser2net on a free port of 127.0.0.1, serving the pty's slave, for the life of the object.
class Ser2net {
public:
    Ser2net(const PtyPair &pty, Protocol protocol)
    {
        const QString program = QStandardPaths::findExecutable(QStringLiteral("ser2net"), {"/usr/sbin", "/usr/bin", "/sbin"});
        if (program.isEmpty()) {
            return;
        }
        port = freeLocalPort();
        const QString accepter = protocol == Protocol::rfc2217 ? QStringLiteral("telnet(rfc2217),tcp") : QStringLiteral("tcp");
        // '#' stands for a new line in -Y strings.
        const QString config = QStringLiteral("connection: &machine#  accepter: %1,127.0.0.1,%2#  connector: "
                                              "serialdev,%3,115200n81,local")
                                   .arg(accepter).arg(port).arg(pty.slavePath());
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(program, {"-n", "-u", "-Y", config});
        address = NetworkAddress{protocol, QStringLiteral("127.0.0.1"), port}.toString();
        for (const Clock::time_point until = Clock::now() + 5s; Clock::now() < until; std::this_thread::sleep_for(20ms)) {
            NetworkSerialTransport probe(address);
            if (!probe.open(SerialLineSettings{})) {
                // ser2net takes a moment to let the probe's connection go.
                std::this_thread::sleep_for(100ms);
                running = true;
                return;
            }
        }
    }
    ~Ser2net()
    {
        kill();
        m_process.waitForFinished(3000);
    }
    // Safe from any thread: the signal only; the destructor reaps the process.
    void kill()
    {
        if (m_process.processId() > 0) {
            ::kill(static_cast<pid_t>(m_process.processId()), SIGKILL);
        }
    }

    bool running = false;
    quint16 port = 0;
    QString address;

private:
    QProcess m_process;
};

#define START_SER2NET(server, pty, protocol)                                                                \
    ASSERT_TRUE((pty).isOpen()) << qPrintable((pty).error());                                              \
    Ser2net server(pty, protocol);                                                                         \
    if (server.port == 0) {                                                                                \
        GTEST_SKIP() << "ser2net is not installed (scripts/install-deps.sh installs it)";                  \
    }                                                                                                      \
    ASSERT_TRUE(server.running) << "ser2net did not start listening"

NetworkSerialTransport::Limits shortLimits()
{
    return {.connect = 2s, .negotiation = 2s, .stall = 3s, .drain = 5s, .settle = 100ms};
}

std::string english(const std::optional<TransportError> &error)
{
    return error ? error->description(AppLanguage::english).toStdString() : "(success)";
}

QByteArray randomBytes(qsizetype size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator generator(12);
    for (char &c : bytes) {
        c = static_cast<char>(generator.bounded(256));
    }
    return bytes;
}

const Protocol bothProtocols[] = {Protocol::rawTcp, Protocol::rfc2217};

} // namespace

TEST(NetworkAddress, ParsesOnlyCompleteAddresses)
{
    struct Case {
        const char *text;
        std::optional<NetworkAddress> expected;
    };
    const Case cases[] = {
        {"tcp://10.0.0.5:4001", NetworkAddress{Protocol::rawTcp, "10.0.0.5", 4001}},
        {" RFC2217://shop-moxa.local:950/ ", NetworkAddress{Protocol::rfc2217, "shop-moxa.local", 950}},
        {"rfc2217://[fe80::1]:2000", NetworkAddress{Protocol::rfc2217, "fe80::1", 2000}},
        {"tcp://fe80::1:2000", std::nullopt},
        {"tcp://10.0.0.5", std::nullopt},
        {"tcp://:4001", std::nullopt},
        {"tcp://host:0", std::nullopt},
        {"tcp://host:65536", std::nullopt},
        {"tcp://host:+80", std::nullopt},
        {"telnet://host:23", std::nullopt},
        {"/dev/ttyUSB0", std::nullopt},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(NetworkAddress::parse(QString::fromUtf8(c.text)), c.expected) << c.text;
        if (c.expected) {
            EXPECT_EQ(NetworkAddress::parse(c.expected->toString()), c.expected) << "round trip of " << c.text;
        }
    }
    EXPECT_TRUE(NetworkAddress::isNetworkPort("tcp://broken"));
    EXPECT_FALSE(NetworkAddress::isNetworkPort("/dev/cu.tcp"));
}

TEST(TelnetCodec, DecodesTheSameWhereverTheStreamIsCut)
{
    const char stream[] = "G1\xff\xffX\xff\xfb\x2c\xff\xfa\x2c\x65\x00\x01\xff\xff\xff\xf0\xff\xf1Y\xff\xfd\x01Z";
    const QByteArray wire(stream, sizeof stream - 1);
    const QList<TelnetCodec::Command> expectedCommands = {
        {TelnetCodec::will, TelnetCodec::comPort, {}},
        {TelnetCodec::sb, TelnetCodec::comPort, QByteArray("\x65\x00\x01\xff", 4)},
        {TelnetCodec::doOption, 1, {}},
    };
    for (qsizetype cut = 0; cut <= wire.size(); ++cut) {
        TelnetCodec codec;
        QByteArray data;
        QList<TelnetCodec::Command> commands;
        codec.decode(wire.constData(), cut, data, commands);
        codec.decode(wire.constData() + cut, wire.size() - cut, data, commands);
        EXPECT_EQ(data, QByteArray("G1\xffXYZ")) << "cut at " << cut;
        EXPECT_EQ(commands, expectedCommands) << "cut at " << cut;
    }
}

// Every byte value, 0xFF (Telnet's escape) included, both ways, byte for byte.
TEST(NetworkSerialTransport, RoundTripIsByteExactThroughSer2net)
{
    for (const Protocol protocol : bothProtocols) {
        SCOPED_TRACE(protocol == Protocol::rfc2217 ? "rfc2217" : "tcp");
        PtyPair pty;
        START_SER2NET(server, pty, protocol);
        const QByteArray payload = randomBytes(200 * 1024);
        MachineEmulator machine(pty, {.expected = payload});
        machine.start();
        NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
        ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 115200})), "(success)");
        EXPECT_EQ(english(transport.write(payload)), "(success)");
        EXPECT_EQ(english(transport.drain(false)), "(success)");
        EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
        machine.stop();
        EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();

        const QByteArray back = randomBytes(3000);
        ASSERT_EQ(::write(pty.masterFd(), back.constData(), back.size()), back.size());
        ReceivedBytes received;
        for (const Clock::time_point until = Clock::now() + 3s; received.bytes.size() < back.size() && Clock::now() < until;) {
            ASSERT_EQ(english(transport.read(received, 200ms)), "(success)");
        }
        EXPECT_EQ(received.bytes, back);
        transport.close();
    }
}

TEST(NetworkSerialTransport, Rfc2217SetsTheProfilesLineOnTheServersPort)
{
    PtyPair pty;
    START_SER2NET(server, pty, Protocol::rfc2217);
    NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
    ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 4800, .dataBits = 7, .parity = 1, .stopBits = 2,
                                                        .flowControl = 1})),
              "(success)");
    termios line{};
    ASSERT_EQ(::tcgetattr(pty.slaveKeeperFd(), &line), 0);
    EXPECT_EQ(cfgetospeed(&line), speed_t(B4800));
    EXPECT_TRUE(line.c_cflag & CSTOPB);
    EXPECT_TRUE(line.c_iflag & IXON);
    EXPECT_FALSE(line.c_cflag & CRTSCTS);
}

// Raw: ser2net passes the XOFF through and the transport stops on it. RFC 2217:
// XON/XOFF is set on the server's port, which stops there. Either way nothing
// reaches the machine while it holds the line, and nothing is lost.
TEST(NetworkSerialTransport, XoffHoldsTheLineUntilXon)
{
    for (const Protocol protocol : bothProtocols) {
        SCOPED_TRACE(protocol == Protocol::rfc2217 ? "rfc2217" : "tcp");
        PtyPair pty;
        START_SER2NET(server, pty, protocol);
        // Large enough that the holds come after the server's buffers have filled.
        QByteArray payload = randomBytes(2 * 1024 * 1024);
        payload.replace('\x11', 'A').replace('\x13', 'B');
        MachineEmulator machine(pty, {.expected = payload, .holds = {{600 * 1024, 400ms}, {1400 * 1024, 300ms}}});
        machine.start();
        NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
        ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 115200, .flowControl = 1})), "(success)");
        EXPECT_EQ(english(transport.write(payload)), "(success)");
        EXPECT_EQ(english(transport.drain(false)), "(success)");
        EXPECT_TRUE(machine.waitForBytes(payload.size(), 5s));
        machine.stop();
        EXPECT_EQ(machine.holdsCompleted(), 2);
        EXPECT_EQ(machine.bytesWhileHeld(), 0);
        EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();
    }
}

// The server drops what it still holds when the connection closes: the drain
// lasts as long as the line needs to carry the program.
TEST(NetworkSerialTransport, DrainWaitsForTheLineToCarryTheProgram)
{
    PtyPair pty;
    START_SER2NET(server, pty, Protocol::rawTcp);
    const QByteArray payload = randomBytes(60 * 1024);
    MachineEmulator machine(pty, {.expected = payload, .bytesPerSecond = 24000});
    machine.start();
    NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
    ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 230400})), "(success)");
    EXPECT_EQ(english(transport.write(payload)), "(success)");
    EXPECT_EQ(english(transport.drain(false)), "(success)");
    transport.close();
    EXPECT_TRUE(machine.waitForBytes(payload.size(), 3s));
    machine.stop();
    EXPECT_TRUE(machine.receivedExactly()) << "first wrong byte at " << machine.firstMismatch();
}

TEST(NetworkSerialTransport, ServerGoneMidTransferIsASendErrorNotAHang)
{
    for (const Protocol protocol : bothProtocols) {
        SCOPED_TRACE(protocol == Protocol::rfc2217 ? "rfc2217" : "tcp");
        PtyPair pty;
        START_SER2NET(server, pty, protocol);
        const QByteArray payload = randomBytes(400 * 1024);
        MachineEmulator machine(pty, {.expected = payload, .bytesPerSecond = 20000});
        machine.start();
        NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
        ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 115200})), "(success)");
        auto killer = std::async(std::launch::async, [&] {
            machine.waitForBytes(8000, 5s);
            server.kill();
        });
        const Clock::time_point start = Clock::now();
        const std::optional<TransportError> error = transport.write(payload);
        killer.get();
        ASSERT_TRUE(error.has_value());
        EXPECT_EQ(error->kind, TransportError::Kind::writeFailed);
        EXPECT_EQ(english(error).rfind("Send error: ", 0), 0u) << english(error);
        EXPECT_LT(Clock::now() - start, 3s);
    }
}

TEST(NetworkSerialTransport, FailuresBeforeSendingSayWhy)
{
    PtyPair pty;
    START_SER2NET(raw, pty, Protocol::rawTcp);
    NetworkSerialTransport::Limits limits = shortLimits();
    limits.negotiation = 300ms;
    const struct {
        QString address;
        const char *expected;
    } cases[] = {
        {"tcp://127.0.0.1:" + QString::number(freeLocalPort()), "Could not open tcp://127.0.0.1:"},
        {"tcp://127.0.0.1", "Could not open tcp://127.0.0.1: not an address of the form"},
        {"rfc2217://127.0.0.1:" + QString::number(raw.port),
         "Could not configure the port: the server did not confirm the line settings in time"},
    };
    for (const auto &c : cases) {
        NetworkSerialTransport transport(c.address, AppLanguage::english, limits);
        EXPECT_EQ(english(transport.open(SerialLineSettings{})).rfind(c.expected, 0), 0u) << qPrintable(c.address);
        EXPECT_FALSE(transport.isOpen());
    }
}

TEST(NetworkSerialTransport, InterruptEndsAHeldWriteQuickly)
{
    PtyPair pty;
    START_SER2NET(server, pty, Protocol::rawTcp);
    const QByteArray payload = randomBytes(2 * 1024 * 1024).replace('\x11', 'A').replace('\x13', 'B');
    MachineEmulator machine(pty, {.expected = payload, .holds = {{1000}}});
    machine.start();
    NetworkSerialTransport transport(server.address, AppLanguage::english, shortLimits());
    ASSERT_EQ(english(transport.open(SerialLineSettings{.baudRate = 115200, .flowControl = 1, .dripFeed = true})),
              "(success)");
    auto writer = std::async(std::launch::async, [&] { return transport.write(payload); });
    ASSERT_TRUE(machine.waitUntilHolding(3s));
    const Clock::time_point start = Clock::now();
    transport.interrupt();
    EXPECT_EQ(english(writer.get()), "Transfer Cancelled");
    EXPECT_LT(Clock::now() - start, 250ms);
}
