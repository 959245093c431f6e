#pragma once

#include "base/seriallinesettings.h"
#include "base/l10n.h"

#include <QByteArray>
#include <QJsonValue>
#include <QList>
#include <QString>

#include <array>
#include <optional>
#include <span>
#include <variant>

// Why a profile cannot be saved. The English message is also the lookup key of
// its translation, so the settings view shows it as it stands.
struct MachineValidationError {
    enum class Kind { emptyName, invalidBaudRate, invalidDataBits, invalidStopBits };

    Kind kind = Kind::emptyName;

    QString description(AppLanguage language) const;

    bool operator==(const MachineValidationError &) const = default;
};

// The serial-line profile of one CNC machine: how its port is set up and how
// the lines of a program end on the wire. A plain value, compared and hashed
// over every field; lists identify a profile by `id`.
//
// The enumerations encode as their raw values, and their declaration order is
// the order the settings view offers them in (flow control deliberately ends
// with `none`). A profile only becomes trustworthy through validated(); one
// read from disk decodes all or nothing.
struct Machine {
    enum class Parity { none, even, odd, mark, space };
    enum class FlowControl { xonXoff, rtsCts, none };
    enum class LineTerminator { cr, crlf, lf };

    QString id;
    QString name;
    qint64 baudRate = 9600;
    qint64 dataBits = 8;
    Parity parity = Parity::none;
    qint64 stopBits = 1;
    FlowControl flowControl = FlowControl::xonXoff;
    LineTerminator lineTerminator = LineTerminator::crlf;
    bool dtr = false;
    bool rts = false;
    bool dripFeed = false;

    bool operator==(const Machine &) const = default;

    // Every case of an enumeration, in declaration order (the pickers' order).
    template <typename Enum>
    static std::span<const Enum> allCases();

    static QString rawValue(Parity parity);
    static QString rawValue(FlowControl flowControl);
    static QString rawValue(LineTerminator terminator);
    // Exact, case-sensitive match of a raw value; anything else is no case.
    template <typename Enum>
    static std::optional<Enum> fromRawValue(const QString &raw);

    // Texts for pickers and summaries. Flow control reads "XON/XOFF",
    // "RTS/CTS" or the translated "no flow"; terminators show their raw value.
    static QString label(Parity parity, AppLanguage language);
    static QString label(FlowControl flowControl, AppLanguage language);
    static QString label(LineTerminator terminator, AppLanguage language);

    // What goes on the wire after every line.
    static QByteArray terminatorBytes(LineTerminator terminator);

    // The speeds the settings view offers; a profile may hold any positive speed.
    static const std::array<qint64, 11> baudRateOptions;
    // The profiles used while the store holds none: Fanuc, then Fadal.
    static QList<Machine> defaults();

    // A copy with the name trimmed, or the first rule the profile breaks.
    std::variant<Machine, MachineValidationError> validated() const;

    // "4800 7E2 · XON/XOFF · CR"
    QString summary(AppLanguage language) const;

    // The codes the transport opens the port with. Speeds and sizes beyond an
    // int (only a hand-edited file holds them) are clamped rather than wrapped.
    SerialLineSettings lineSettings() const;

    // Compact JSON object text with the keys in field order, which is the order
    // other tools reading machines.json may rely on.
    QByteArray toJson() const;
    // Every key is required with its exact type and a known raw value;
    // otherwise there is no profile (no per-field defaults). Unknown keys are ignored.
    static std::optional<Machine> fromJson(const QJsonValue &value);

    // A JSON array of profiles, written as toJson() writes each one.
    static QByteArray encodeList(const QList<Machine> &machines);
    // The whole array or nothing: one bad profile fails the lot.
    static std::optional<QList<Machine>> decodeList(const QByteArray &json);
};

template <>
std::span<const Machine::Parity> Machine::allCases<Machine::Parity>();
template <>
std::span<const Machine::FlowControl> Machine::allCases<Machine::FlowControl>();
template <>
std::span<const Machine::LineTerminator> Machine::allCases<Machine::LineTerminator>();

template <typename Enum>
std::optional<Enum> Machine::fromRawValue(const QString &raw)
{
    for (Enum value : allCases<Enum>()) {
        if (rawValue(value) == raw) {
            return value;
        }
    }
    return std::nullopt;
}

size_t qHash(const Machine &machine, size_t seed = 0);
