#pragma once

#include <QString>

#include <optional>

// A machine reached through a serial-over-Ethernet server instead of a local
// device. Written where a device path would go:
//   tcp://HOST:PORT      a raw TCP server: bytes in, bytes out, the server's own
//                        line settings apply;
//   rfc2217://HOST:PORT  a Telnet server with COM-port control: the profile's
//                        line settings are negotiated with it.
// HOST is a name, an IPv4 address or a bracketed IPv6 address ("[::1]").
struct NetworkAddress {
    enum class Protocol { rawTcp, rfc2217 };

    Protocol protocol = Protocol::rawTcp;
    QString host;
    quint16 port = 0;

    // True when the text names a network port at all (by its scheme), well
    // formed or not: such a text never goes to the termios transport.
    static bool isNetworkPort(const QString &text);
    // The address in the text, or nothing when it is not a complete one.
    static std::optional<NetworkAddress> parse(const QString &text);

    QString toString() const;
    bool operator==(const NetworkAddress &) const = default;
};
