#pragma once

#include "base/l10n.h"
#include "transport/networkaddress.h"
#include "transport/serialtransport.h"
#include "transport/telnetcodec.h"

#include <QHash>
#include <QString>

#include <chrono>
#include <mutex>

// The waits of a network transport; tests pass short ones.
struct NetworkTransportLimits {
    std::chrono::milliseconds connect{10000};
    std::chrono::milliseconds negotiation{5000};
    std::chrono::milliseconds stall{30000};
    std::chrono::milliseconds drain{120000};
    std::chrono::milliseconds pollInterval{150};
    std::chrono::milliseconds settle{300};
};

// A machine behind a serial-over-Ethernet server, over a TCP socket: raw
// (tcp://) or Telnet with COM-port control (rfc2217://), where the profile's
// speed, framing and flow control are set on the server's port at open and the
// open fails when the server does not confirm them.
//
// With XON/XOFF flow control the machine's XOFF reaches us as data: every write
// looks at what has arrived before each piece it hands the socket and stops at
// once on XOFF (or on the server's flow-control suspend) until XON. Writes go
// out in small pieces through a small send buffer so that little is in flight
// when the machine says stop.
//
// Failure contract as for the termios transport: errors are values; a server
// that goes away (connection closed, reset, unreachable for the stall limit)
// ends a write or drain with `writeFailed` and the system's reason, never a
// hang; interrupt() from any thread ends a blocked call with `cancelled`
// within one poll interval.
class NetworkSerialTransport final : public SerialTransport {
public:
    using Limits = NetworkTransportLimits;

    explicit NetworkSerialTransport(QString address, AppLanguage language = AppLanguage::english,
                                    Limits limits = Limits());
    ~NetworkSerialTransport() override;

    NetworkSerialTransport(const NetworkSerialTransport &) = delete;
    NetworkSerialTransport &operator=(const NetworkSerialTransport &) = delete;

    std::optional<TransportError> open(const SerialLineSettings &settings) override;
    std::optional<TransportError> write(const QByteArray &bytes) override;
    std::optional<TransportError> drain(bool dripFeed) override;
    void close() override;
    void interrupt() override;
    std::optional<TransportError> read(ReceivedBytes &into, std::chrono::milliseconds timeout) override;

    bool isOpen() const { return m_fd >= 0; }
    // The machine (XOFF) or the server (flow-control suspend) holds the line.
    bool isHeld() const { return m_xoff || m_suspended; }

private:
    std::optional<TransportError> connectTo(const NetworkAddress &address);
    std::optional<TransportError> negotiate(const SerialLineSettings &settings);
    // Reads everything the socket holds without waiting. `ended` is set when
    // the server closed the connection; a failure comes back as its errno.
    int takeIncoming(bool *ended);
    void handleCommand(const TelnetCodec::Command &command);
    // Sends queued Telnet replies; returns errno on failure, 0 otherwise.
    int flushControl();
    std::optional<TransportError> lostConnection(int code) const;
    bool interrupted() const;

    const QString m_address;
    const AppLanguage m_language;
    const Limits m_limits;

    int m_fd = -1;
    bool m_telnet = false;
    bool m_xonXoff = false;
    bool m_dripFeed = false;
    bool m_xoff = false;
    // The line's pace: nothing leaves the server's port faster than this many characters per second.
    double m_charactersPerSecond = 960;
    qint64 m_sentBytes = 0;
    std::chrono::steady_clock::time_point m_firstSend;
    bool m_suspended = false;
    QByteArray m_incoming; // machine data not yet taken by read()
    QByteArray m_control;  // Telnet replies waiting to go out ahead of data
    TelnetCodec m_codec;

    // COM-port negotiation: the option's fate and the server's replies by command.
    bool m_comPortAccepted = false;
    bool m_comPortRefused = false;
    QHash<quint8, QList<QByteArray>> m_replies;
    QList<quint16> m_optionsAsked; // what we offered (WILL) or requested (DO), as verb << 8 | option

    mutable std::mutex m_lock;
    bool m_interrupted = false; // guarded by m_lock
};
