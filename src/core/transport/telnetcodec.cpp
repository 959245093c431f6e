#include "telnetcodec.h"

namespace {

// A sub-negotiation longer than this is a broken server, not a COM-port reply;
// the excess is dropped so a missing IAC SE cannot grow the buffer for ever.
constexpr qsizetype maxSubnegotiation = 1024;

} // namespace

void TelnetCodec::reset()
{
    m_state = State::data;
    m_verb = 0;
    m_sb.clear();
}

void TelnetCodec::decode(const char *bytes, qsizetype size, QByteArray &data, QList<Command> &commands)
{
    for (qsizetype i = 0; i < size; ++i) {
        const auto byte = static_cast<quint8>(bytes[i]);
        switch (m_state) {
        case State::data:
            if (byte == iac) {
                m_state = State::iac;
            } else {
                data += static_cast<char>(byte);
            }
            break;
        case State::iac:
            if (byte == iac) {
                data += static_cast<char>(byte);
                m_state = State::data;
            } else if (byte >= will && byte <= dontOption) {
                m_verb = byte;
                m_state = State::verb;
            } else if (byte == sb) {
                m_sb.clear();
                m_state = State::sb;
            } else {
                // NOP, go-ahead, a stray SE and the other one-byte commands carry nothing we use.
                m_state = State::data;
            }
            break;
        case State::verb:
            commands.append(Command{m_verb, byte, {}});
            m_state = State::data;
            break;
        case State::sb:
            if (byte == iac) {
                m_state = State::sbIac;
            } else if (m_sb.size() < maxSubnegotiation) {
                m_sb += static_cast<char>(byte);
            }
            break;
        case State::sbIac:
            if (byte == iac) {
                if (m_sb.size() < maxSubnegotiation) {
                    m_sb += static_cast<char>(byte);
                }
                m_state = State::sb;
            } else {
                // IAC SE ends it; any other command cuts it short the same way.
                if (!m_sb.isEmpty()) {
                    commands.append(Command{sb, static_cast<quint8>(m_sb.at(0)), m_sb.mid(1)});
                }
                m_sb.clear();
                m_state = State::data;
            }
            break;
        }
    }
}

QByteArray TelnetCodec::escape(const QByteArray &data)
{
    const qsizetype count = data.count(static_cast<char>(iac));
    if (count == 0) {
        return data;
    }
    QByteArray out;
    out.reserve(data.size() + count);
    for (const char c : data) {
        out += c;
        if (static_cast<quint8>(c) == iac) {
            out += c;
        }
    }
    return out;
}

QByteArray TelnetCodec::negotiation(quint8 verb, quint8 option)
{
    const char bytes[] = {static_cast<char>(iac), static_cast<char>(verb), static_cast<char>(option)};
    return QByteArray(bytes, 3);
}

QByteArray TelnetCodec::subnegotiation(quint8 option, const QByteArray &parameters)
{
    QByteArray out;
    out += static_cast<char>(iac);
    out += static_cast<char>(sb);
    out += static_cast<char>(option);
    out += escape(parameters);
    out += static_cast<char>(iac);
    out += static_cast<char>(se);
    return out;
}
