#include "networkserialtransport.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <cstring>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr char xon = 0x11;
constexpr char xoff = 0x13;
// One piece per look at the incoming side: at 115200 baud this is under 100 ms
// of the machine's time, and the socket never holds more than its small buffer.
constexpr qsizetype pieceSize = 1024;
constexpr int sendBufferBytes = 8192;

// COM-port control commands (client to server; the server answers with +100).
enum ComPort : quint8 {
    setBaudRate = 1,
    setDataSize = 2,
    setParity = 3,
    setStopSize = 4,
    setControl = 5,
    flowControlSuspend = 8,
    flowControlResume = 9,
    serverReply = 100,
};

[[maybe_unused]] const char *errorText(int result, const char *buffer)
{
    return result == 0 ? buffer : "Unknown error";
}
[[maybe_unused]] const char *errorText(const char *result, const char *)
{
    return result;
}

QString systemErrorText(int code)
{
    char buffer[256] = {};
    return QString::fromLocal8Bit(errorText(strerror_r(code, buffer, sizeof buffer), buffer));
}

int pollOnce(int fd, short events, milliseconds timeout, short *revents)
{
    pollfd entry{fd, events, 0};
    const int ready = ::poll(&entry, 1, static_cast<int>(timeout.count()));
    *revents = entry.revents;
    return ready;
}

QByteArray bigEndian32(quint32 value)
{
    QByteArray out(4, '\0');
    for (int i = 0; i < 4; ++i) {
        out[i] = static_cast<char>((value >> (24 - 8 * i)) & 0xFF);
    }
    return out;
}

quint32 fromBigEndian(const QByteArray &bytes)
{
    quint32 value = 0;
    for (const char c : bytes) {
        value = (value << 8) | static_cast<quint8>(c);
    }
    return value;
}

// The profile's parity code (0 none, 1 even, 2 odd; mark and space reach a
// local port as none, and so they do here) as the protocol numbers it.
quint8 parityCode(int parity)
{
    switch (parity) {
    case 1:
        return 3;
    case 2:
        return 2;
    default:
        return 1;
    }
}

quint8 flowCode(int flowControl)
{
    switch (flowControl) {
    case 1:
        return 2;
    case 2:
        return 3;
    default:
        return 1;
    }
}

} // namespace

NetworkSerialTransport::NetworkSerialTransport(QString address, AppLanguage language, Limits limits)
    : m_address(std::move(address)), m_language(language), m_limits(limits)
{
}

NetworkSerialTransport::~NetworkSerialTransport()
{
    close();
}

std::optional<TransportError> NetworkSerialTransport::open(const SerialLineSettings &settings)
{
    {
        std::lock_guard guard(m_lock);
        m_interrupted = false;
    }
    close();
    m_dripFeed = settings.dripFeed;
    m_xonXoff = settings.flowControl == 1;
    m_xoff = false;
    m_suspended = false;
    m_sentBytes = 0;
    // Start, data, parity and stop bits of one character.
    m_charactersPerSecond = std::max(1, settings.baudRate) /
                            double(1 + settings.dataBits + (settings.parity == 1 || settings.parity == 2 ? 1 : 0) +
                                   (settings.stopBits == 2 ? 2 : 1));
    m_incoming.clear();
    m_control.clear();
    m_codec.reset();
    m_comPortAccepted = false;
    m_comPortRefused = false;
    m_replies.clear();
    m_optionsAsked.clear();

    const std::optional<NetworkAddress> address = NetworkAddress::parse(m_address);
    if (!address) {
        return TransportError::openFailed(
            m_address, L10n::text("not an address of the form tcp://HOST:PORT or rfc2217://HOST:PORT", m_language));
    }
    m_telnet = address->protocol == NetworkAddress::Protocol::rfc2217;
    if (auto error = connectTo(*address)) {
        close();
        return error;
    }
    if (m_telnet) {
        if (auto error = negotiate(settings)) {
            close();
            return error;
        }
    }
    return std::nullopt;
}

std::optional<TransportError> NetworkSerialTransport::connectTo(const NetworkAddress &address)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const QByteArray host = address.host.toUtf8();
    const QByteArray service = QByteArray::number(address.port);
    if (const int failure = ::getaddrinfo(host.constData(), service.constData(), &hints, &found); failure != 0) {
        const QString reason = failure == EAI_SYSTEM ? systemErrorText(errno) : QString::fromLocal8Bit(gai_strerror(failure));
        return TransportError::openFailed(m_address, reason);
    }

    int lastError = ECONNREFUSED;
    for (addrinfo *candidate = found; candidate && m_fd < 0; candidate = candidate->ai_next) {
        const int fd = ::socket(candidate->ai_family, candidate->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC,
                                candidate->ai_protocol);
        if (fd < 0) {
            lastError = errno;
            continue;
        }
        // Small pieces must leave at once (a drip-fed block, a Telnet reply), and
        // little may wait in our buffer once the machine says stop.
        const int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        ::setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &sendBufferBytes, sizeof sendBufferBytes);
        ::setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &one, sizeof one);
        // A server that loses power sends no reset: unacknowledged data then
        // ends the connection after the stall limit instead of after the
        // system's quarter of an hour.
        const unsigned int userTimeout = static_cast<unsigned int>(m_limits.stall.count());
        ::setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &userTimeout, sizeof userTimeout);

        int result = ::connect(fd, candidate->ai_addr, candidate->ai_addrlen);
        if (result < 0 && errno == EINPROGRESS) {
            const Clock::time_point deadline = Clock::now() + m_limits.connect;
            result = -1;
            lastError = ETIMEDOUT;
            while (Clock::now() < deadline) {
                if (interrupted()) {
                    ::close(fd);
                    ::freeaddrinfo(found);
                    return TransportError::cancelled();
                }
                short revents = 0;
                const int ready = pollOnce(fd, POLLOUT, m_limits.pollInterval, &revents);
                if (ready < 0 && errno != EINTR) {
                    lastError = errno;
                    break;
                }
                if (ready > 0) {
                    int code = 0;
                    socklen_t length = sizeof code;
                    ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &code, &length);
                    lastError = code;
                    result = code == 0 ? 0 : -1;
                    break;
                }
            }
        } else if (result < 0) {
            lastError = errno;
        }
        if (result == 0) {
            m_fd = fd;
        } else {
            ::close(fd);
        }
    }
    ::freeaddrinfo(found);
    if (m_fd < 0) {
        return TransportError::openFailed(m_address, systemErrorText(lastError), lastError);
    }
    return std::nullopt;
}

std::optional<TransportError> NetworkSerialTransport::negotiate(const SerialLineSettings &settings)
{
    auto ask = [this](quint8 verb, quint8 option) {
        m_optionsAsked.append(static_cast<quint16>(verb << 8 | option));
        m_control += TelnetCodec::negotiation(verb, option);
    };
    // Binary both ways, so CR and 0xFF pass as themselves; no go-ahead; COM-port control.
    ask(TelnetCodec::will, TelnetCodec::binary);
    ask(TelnetCodec::doOption, TelnetCodec::binary);
    ask(TelnetCodec::will, TelnetCodec::suppressGoAhead);
    ask(TelnetCodec::doOption, TelnetCodec::suppressGoAhead);
    ask(TelnetCodec::will, TelnetCodec::comPort);

    const auto configurationError = [this](const QString &what) {
        return TransportError::configurationFailed(what);
    };
    auto waitFor = [&](const std::function<bool()> &done) -> std::optional<TransportError> {
        const Clock::time_point deadline = Clock::now() + m_limits.negotiation;
        for (;;) {
            if (const int code = flushControl()) {
                return lostConnection(code);
            }
            bool ended = false;
            if (const int code = takeIncoming(&ended)) {
                return lostConnection(code);
            }
            if (ended) {
                return lostConnection(0);
            }
            if (m_comPortRefused) {
                return configurationError(L10n::text(
                    "the server does not offer serial port control (RFC 2217); use tcp:// for a raw server",
                    m_language));
            }
            if (done()) {
                return std::nullopt;
            }
            if (interrupted()) {
                return TransportError::cancelled();
            }
            if (Clock::now() > deadline) {
                return configurationError(
                    L10n::text("the server did not confirm the line settings in time", m_language));
            }
            short revents = 0;
            pollOnce(m_fd, POLLIN | (m_control.isEmpty() ? 0 : POLLOUT), m_limits.pollInterval, &revents);
        }
    };

    if (auto error = waitFor([this] { return m_comPortAccepted; })) {
        return error;
    }

    const quint8 flow = flowCode(settings.flowControl);
    const quint8 parity = parityCode(settings.parity);
    const quint8 dataBits = static_cast<quint8>(settings.dataBits >= 5 && settings.dataBits <= 7 ? settings.dataBits : 8);
    const quint8 stopBits = static_cast<quint8>(settings.stopBits == 2 ? 2 : 1);
    const auto command = [this](quint8 code, const QByteArray &value) {
        m_control += TelnetCodec::subnegotiation(TelnetCodec::comPort, char(code) + value);
    };
    command(setBaudRate, bigEndian32(static_cast<quint32>(settings.baudRate)));
    command(setDataSize, QByteArray(1, char(dataBits)));
    command(setParity, QByteArray(1, char(parity)));
    command(setStopSize, QByteArray(1, char(stopBits)));
    command(setControl, QByteArray(1, char(flow)));
    command(setControl, QByteArray(1, char(settings.dtr ? 8 : 9)));
    if (settings.flowControl != 2) {
        // With hardware flow control RTS belongs to the server's port.
        command(setControl, QByteArray(1, char(settings.rts ? 11 : 12)));
    }

    // Only the line settings are awaited: a server whose port has no modem
    // lines (a pty, some adapters) leaves the DTR and RTS commands unanswered.
    const auto replied = [this](quint8 code) { return m_replies.value(serverReply + code); };
    if (auto error = waitFor([&] {
            return !replied(setBaudRate).isEmpty() && !replied(setDataSize).isEmpty() &&
                   !replied(setParity).isEmpty() && !replied(setStopSize).isEmpty() &&
                   !replied(setControl).isEmpty();
        })) {
        return error;
    }

    const auto refused = [&](const QString &what) {
        return configurationError(L10n::format("the server refused %@", m_language, {what}));
    };
    if (fromBigEndian(replied(setBaudRate).constFirst()) != static_cast<quint32>(settings.baudRate)) {
        return refused(L10n::format("%@ baud", m_language, {QString::number(settings.baudRate)}));
    }
    if (replied(setDataSize).constFirst() != QByteArray(1, char(dataBits))) {
        return refused(L10n::format("%@ data bits", m_language, {QString::number(dataBits)}));
    }
    if (replied(setParity).constFirst() != QByteArray(1, char(parity))) {
        return refused(L10n::text("the parity", m_language));
    }
    if (replied(setStopSize).constFirst() != QByteArray(1, char(stopBits))) {
        return refused(L10n::format("%@ stop bits", m_language, {QString::number(stopBits)}));
    }
    if (replied(setControl).constFirst() != QByteArray(1, char(flow))) {
        return refused(L10n::text("the flow control", m_language));
    }
    return std::nullopt;
}

void NetworkSerialTransport::handleCommand(const TelnetCodec::Command &command)
{
    const auto asked = [this](quint8 verb, quint8 option) {
        return m_optionsAsked.contains(static_cast<quint16>(verb << 8 | option));
    };
    const auto answer = [this](quint8 verb, quint8 option) {
        m_optionsAsked.append(static_cast<quint16>(verb << 8 | option));
        m_control += TelnetCodec::negotiation(verb, option);
    };
    const quint8 option = command.option;
    const bool ours = option == TelnetCodec::binary || option == TelnetCodec::suppressGoAhead ||
                      option == TelnetCodec::comPort;
    switch (command.verb) {
    case TelnetCodec::doOption:
        if (option == TelnetCodec::comPort) {
            m_comPortAccepted = true;
        }
        // Agree once to what we support; refuse the rest (echo, line mode, ...).
        if (ours) {
            if (!asked(TelnetCodec::will, option)) {
                answer(TelnetCodec::will, option);
            }
        } else {
            m_control += TelnetCodec::negotiation(TelnetCodec::wont, option);
        }
        break;
    case TelnetCodec::will:
        if (ours && option != TelnetCodec::comPort) {
            if (!asked(TelnetCodec::doOption, option)) {
                answer(TelnetCodec::doOption, option);
            }
        } else {
            m_control += TelnetCodec::negotiation(TelnetCodec::dontOption, option);
        }
        break;
    case TelnetCodec::dontOption:
        if (option == TelnetCodec::comPort) {
            m_comPortRefused = !m_comPortAccepted;
        }
        break;
    case TelnetCodec::wont:
        break;
    case TelnetCodec::sb:
        if (option == TelnetCodec::comPort && !command.parameters.isEmpty()) {
            const auto code = static_cast<quint8>(command.parameters.at(0));
            if (code == serverReply + flowControlSuspend) {
                m_suspended = true;
            } else if (code == serverReply + flowControlResume) {
                m_suspended = false;
            } else {
                m_replies[code].append(command.parameters.mid(1));
            }
        }
        break;
    default:
        break;
    }
}

int NetworkSerialTransport::takeIncoming(bool *ended)
{
    *ended = false;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::recv(m_fd, buffer, sizeof buffer, MSG_DONTWAIT);
        if (got == 0) {
            *ended = true;
            return 0;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno == EAGAIN || errno == EWOULDBLOCK ? 0 : errno;
        }
        QByteArray data;
        if (m_telnet) {
            QList<TelnetCodec::Command> commands;
            m_codec.decode(buffer, got, data, commands);
            for (const TelnetCodec::Command &command : commands) {
                handleCommand(command);
            }
        } else {
            data = QByteArray(buffer, got);
        }
        if (m_xonXoff) {
            // The last of them decides: "XOFF XON" in one read means go on.
            for (const char c : data) {
                if (c == xoff) {
                    m_xoff = true;
                } else if (c == xon) {
                    m_xoff = false;
                } else {
                    m_incoming += c;
                }
            }
        } else {
            m_incoming += data;
        }
    }
}

int NetworkSerialTransport::flushControl()
{
    while (!m_control.isEmpty()) {
        const ssize_t sent = ::send(m_fd, m_control.constData(), static_cast<size_t>(m_control.size()),
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            m_control.remove(0, sent);
        } else if (errno == EINTR) {
            continue;
        } else {
            return errno == EAGAIN || errno == EWOULDBLOCK ? 0 : errno;
        }
    }
    return 0;
}

std::optional<TransportError> NetworkSerialTransport::lostConnection(int code) const
{
    if (code == 0) {
        return TransportError::writeFailed(L10n::text("the server closed the connection", m_language));
    }
    return TransportError::writeFailed(systemErrorText(code), code);
}

std::optional<TransportError> NetworkSerialTransport::write(const QByteArray &bytes)
{
    if (m_fd < 0) {
        return TransportError::notConnected();
    }
    const QByteArray wire = m_telnet ? TelnetCodec::escape(bytes) : bytes;
    if (m_sentBytes == 0) {
        m_firstSend = Clock::now();
    }
    m_sentBytes += bytes.size();
    qsizetype offset = 0;
    // Only an unbroken stall counts: every accepted byte starts the clock again.
    Clock::time_point lastProgress = Clock::now();
    while (offset < wire.size()) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        bool ended = false;
        if (const int code = takeIncoming(&ended); code != 0 || ended) {
            return lostConnection(code);
        }
        if (const int code = flushControl()) {
            return lostConnection(code);
        }
        if (!isHeld() && m_control.isEmpty()) {
            const size_t length = static_cast<size_t>(std::min(pieceSize, wire.size() - offset));
            const ssize_t sent = ::send(m_fd, wire.constData() + offset, length, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent > 0) {
                offset += sent;
                lastProgress = Clock::now();
                continue;
            }
            if (errno == EINTR) {
                continue;
            }
            if (errno != EAGAIN && errno != EWOULDBLOCK) {
                return lostConnection(errno);
            }
        }

        // The socket is full, or the machine holds the line: wait for either to change.
        const short events = POLLIN | (isHeld() && m_control.isEmpty() ? 0 : POLLOUT);
        short revents = 0;
        const int ready = pollOnce(m_fd, events, m_limits.pollInterval, &revents);
        if (ready < 0) {
            if (errno == EINTR) {
                continue;
            }
            return TransportError::waitFailed();
        }
        if (ready > 0) {
            if (revents & (POLLERR | POLLHUP | POLLNVAL)) {
                int code = 0;
                socklen_t length = sizeof code;
                ::getsockopt(m_fd, SOL_SOCKET, SO_ERROR, &code, &length);
                // A hang-up with bytes still to read is read first: they may say why.
                if (code != 0 || !(revents & POLLIN)) {
                    return lostConnection(code);
                }
            }
            continue;
        }
        if (interrupted()) {
            return TransportError::cancelled();
        }
        // The machine may hold the line for minutes in drip feed; only a cancel ends the wait.
        if (!m_dripFeed && Clock::now() - lastProgress > m_limits.stall) {
            return TransportError::receiveTimeout();
        }
    }
    return std::nullopt;
}

std::optional<TransportError> NetworkSerialTransport::drain(bool dripFeed)
{
    if (m_fd < 0) {
        return std::nullopt;
    }
    const Clock::time_point deadline = Clock::now() + m_limits.drain;
    for (;;) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        bool ended = false;
        if (const int code = takeIncoming(&ended); code != 0 || ended) {
            return lostConnection(code);
        }
        if (const int code = flushControl()) {
            return lostConnection(code);
        }
        // Bytes the server has not acknowledged yet.
        int pending = 0;
        if (::ioctl(m_fd, SIOCOUTQ, &pending) < 0 || (pending < 1 && m_control.isEmpty())) {
            break;
        }
        if (!dripFeed && Clock::now() > deadline) {
            return TransportError::drainTimeout();
        }
        short revents = 0;
        pollOnce(m_fd, POLLIN, std::min(m_limits.pollInterval, milliseconds(20)), &revents);
    }
    // The server has everything, but its buffer may still hold much of it: a
    // server drops what it holds when the connection closes. The line cannot
    // carry the program faster than its speed, so wait at least that long
    // since the first byte, then a little for the last characters.
    const auto lineTime = std::chrono::duration_cast<milliseconds>(
        std::chrono::duration<double>(double(m_sentBytes) / m_charactersPerSecond));
    Clock::time_point settled = std::max(Clock::now(), m_firstSend + lineTime) + m_limits.settle;
    if (!dripFeed) {
        settled = std::min(settled, deadline);
    }
    while (Clock::now() < settled) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        short revents = 0;
        const auto left = std::chrono::duration_cast<milliseconds>(settled - Clock::now());
        pollOnce(m_fd, 0, std::clamp(left, milliseconds(1), m_limits.pollInterval), &revents);
    }
    return std::nullopt;
}

std::optional<TransportError> NetworkSerialTransport::read(ReceivedBytes &into, std::chrono::milliseconds timeout)
{
    if (m_fd < 0) {
        return TransportError::notConnected();
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    for (;;) {
        if (interrupted()) {
            return TransportError::cancelled();
        }
        bool ended = false;
        const int code = takeIncoming(&ended);
        if (const int sendCode = flushControl(); code == 0 && sendCode != 0) {
            return TransportError::connectionFailed(systemErrorText(sendCode));
        }
        // What arrived before the end still belongs to the program.
        if (!m_incoming.isEmpty()) {
            into.bytes += m_incoming;
            m_incoming.clear();
            return std::nullopt;
        }
        if (code != 0) {
            return TransportError::connectionFailed(systemErrorText(code));
        }
        if (ended) {
            return TransportError::connectionFailed(L10n::text("the server closed the connection", m_language));
        }
        const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
        if (left <= milliseconds(0)) {
            return std::nullopt;
        }
        short revents = 0;
        pollOnce(m_fd, POLLIN, std::min(left, m_limits.pollInterval), &revents);
    }
}

void NetworkSerialTransport::close()
{
    if (m_fd >= 0) {
        // Don't retry close() on EINTR: the descriptor is already released.
        ::close(m_fd);
        m_fd = -1;
    }
}

void NetworkSerialTransport::interrupt()
{
    std::lock_guard guard(m_lock);
    m_interrupted = true;
}

bool NetworkSerialTransport::interrupted() const
{
    std::lock_guard guard(m_lock);
    return m_interrupted;
}
