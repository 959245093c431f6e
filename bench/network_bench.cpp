// How soon the network transport stops sending after the machine's XOFF
// reaches its socket, over RFC 2217 and raw TCP.
//
// The server is played in this process on 127.0.0.1: it answers the COM-port
// negotiation, reads the program at full speed, and after 256 KB sends XOFF as
// data (a server that passes the machine's XOFF through). On loopback a byte
// is in the reader's queue as soon as the sender's send() returns, so the last
// data byte that arrives after the XOFF marks the sender's last write. The
// figure is that byte's arrival minus the XOFF's departure. Then XON, and the
// rest of the program.

#include "transport/networkaddress.h"
#include "transport/networkserialtransport.h"
#include "transport/telnetcodec.h"

#include <benchmark/benchmark.h>

#include <future>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr qsizetype holdAt = 256 * 1024;

struct Listener {
    Listener()
    {
        fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address);
        ::listen(fd, 1);
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length);
        port = ntohs(address.sin_port);
    }
    ~Listener() { ::close(fd); }
    int fd = -1;
    quint16 port = 0;
};

void sendAll(int fd, const QByteArray &bytes)
{
    qsizetype offset = 0;
    while (offset < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.constData() + offset, size_t(bytes.size() - offset), MSG_NOSIGNAL);
        if (n <= 0) {
            return;
        }
        offset += n;
    }
}

struct Measurement {
    double stopSeconds = 0;
    qint64 bytesAfterXoff = 0;
    qint64 received = 0;
};

// Plays the server for one transfer of `total` data bytes.
Measurement serve(int listenFd, bool telnet, qint64 total)
{
    const int fd = ::accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    TelnetCodec codec;
    Measurement result;
    bool held = false;
    bool released = false;
    Clock::time_point xoffSent;
    Clock::time_point lastAfterXoff;
    char buffer[65536];
    while (result.received < total) {
        pollfd p{fd, POLLIN, 0};
        const int ready = ::poll(&p, 1, held ? 30 : 2000);
        if (ready == 0 && held) {
            // Quiet for 30 ms: the sender has stopped. Let it go on.
            result.stopSeconds = std::chrono::duration<double>(lastAfterXoff - xoffSent).count();
            sendAll(fd, QByteArray(1, 0x11));
            held = false;
            released = true;
            continue;
        }
        if (ready <= 0) {
            break;
        }
        const ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0) {
            break;
        }
        const Clock::time_point arrived = Clock::now();
        QByteArray data;
        QList<TelnetCodec::Command> commands;
        if (telnet) {
            codec.decode(buffer, n, data, commands);
        } else {
            data = QByteArray(buffer, n);
        }
        for (const TelnetCodec::Command &command : commands) {
            if (command.verb == TelnetCodec::will && command.option == TelnetCodec::comPort) {
                sendAll(fd, TelnetCodec::negotiation(TelnetCodec::doOption, TelnetCodec::comPort));
            } else if (command.verb == TelnetCodec::sb && command.option == TelnetCodec::comPort) {
                // Every setting is accepted as asked.
                QByteArray reply = command.parameters;
                reply[0] = char(quint8(reply.at(0)) + 100);
                sendAll(fd, TelnetCodec::subnegotiation(TelnetCodec::comPort, reply));
            }
        }
        result.received += data.size();
        if (held && !data.isEmpty()) {
            lastAfterXoff = arrived;
            result.bytesAfterXoff += data.size();
        }
        if (!held && !released && result.received >= holdAt) {
            sendAll(fd, QByteArray(1, 0x13));
            xoffSent = Clock::now();
            lastAfterXoff = xoffSent;
            held = true;
        }
    }
    ::close(fd);
    return result;
}

void xoffStop(benchmark::State &state, NetworkAddress::Protocol protocol)
{
    QByteArray payload(4 * 1024 * 1024, 'G');
    for (qsizetype i = 0; i < payload.size(); i += 40) {
        payload[i] = '\n';
        payload[i + 1] = char(0xFF); // escaped on the way out over Telnet
    }
    const bool telnet = protocol == NetworkAddress::Protocol::rfc2217;
    const qint64 total = payload.size();
    double worst = 0;
    qint64 after = 0;
    for (auto _ : state) {
        Listener listener;
        auto server = std::async(std::launch::async, [&] { return serve(listener.fd, telnet, total); });
        NetworkSerialTransport transport(NetworkAddress{protocol, QStringLiteral("127.0.0.1"), listener.port}.toString());
        SerialLineSettings line;
        line.baudRate = 115200;
        line.flowControl = 1;
        if (transport.open(line) || transport.write(payload)) {
            state.SkipWithError("the transfer failed");
            break;
        }
        transport.close();
        const Measurement m = server.get();
        if (m.received != total) {
            state.SkipWithError("bytes went missing");
            break;
        }
        state.SetIterationTime(m.stopSeconds);
        worst = std::max(worst, m.stopSeconds);
        after = std::max(after, m.bytesAfterXoff);
    }
    state.counters["worst_stop_ms"] = worst * 1000;
    state.counters["max_bytes_after_xoff"] = double(after);
}

} // namespace

BENCHMARK_CAPTURE(xoffStop, rfc2217, NetworkAddress::Protocol::rfc2217)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(30);
BENCHMARK_CAPTURE(xoffStop, rawTcp, NetworkAddress::Protocol::rawTcp)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Iterations(30);
