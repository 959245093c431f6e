#pragma once

#include <QByteArray>
#include <QList>

// The Telnet framing a COM-port-control server speaks: data with every 0xFF
// byte doubled, negotiation commands (IAC WILL/WONT/DO/DONT option) and
// sub-negotiations (IAC SB option parameters IAC SE) mixed into the stream.
// The decoder keeps a sequence cut between two reads for the next one, so the
// socket can be read in chunks of any size.
class TelnetCodec {
public:
    enum : quint8 {
        se = 240,
        sb = 250,
        will = 251,
        wont = 252,
        doOption = 253,
        dontOption = 254,
        iac = 255,
    };
    enum Option : quint8 {
        binary = 0,
        suppressGoAhead = 3,
        comPort = 44,
    };

    struct Command {
        quint8 verb = 0;       // will, wont, doOption, dontOption or sb
        quint8 option = 0;
        QByteArray parameters; // sb only: the bytes between the option and IAC SE, unescaped

        bool operator==(const Command &) const = default;
    };

    // Splits bytes from the server into machine data (appended to `data`) and
    // commands (appended to `commands`), in arrival order within each list.
    void decode(const char *bytes, qsizetype size, QByteArray &data, QList<Command> &commands);
    void reset();

    // Data for the server, every 0xFF doubled.
    static QByteArray escape(const QByteArray &data);
    static QByteArray negotiation(quint8 verb, quint8 option);
    static QByteArray subnegotiation(quint8 option, const QByteArray &parameters);

private:
    enum class State { data, iac, verb, sb, sbIac };
    State m_state = State::data;
    quint8 m_verb = 0;
    QByteArray m_sb;
};
