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

    // Tape-era framing and clean-up of what goes on the wire. Every field has a
    // default that changes nothing, and a profile that keeps all of them writes
    // exactly the keys above, so older tools reading machines.json see no change.
    enum class TapeMark { none, percent, dc2, dc4 };
    enum class CharacterCode { ascii, eia };
    static constexpr qint64 maxLeaderLength = 500;
    static constexpr qint64 maxLineDelayMs = 10000;
    static constexpr qint64 defaultReceiveIdleSeconds = 5;

    qint64 leaderLength = 0;  // NULs before the program (blank tape the reader runs in on)
    qint64 trailerLength = 0; // NULs after it
    TapeMark startCharacter = TapeMark::none;
    TapeMark endCharacter = TapeMark::none;
    qint64 lineDelayMs = 0; // pause after each line for controls without flow control
    bool stripComments = false;
    bool stripSpaces = false;
    bool stripBlankLines = false;
    bool upperCase = false;
    bool waitForXon = false; // hold the program until the control sends DC1
    CharacterCode characterCode = CharacterCode::ascii;
    qint64 receiveIdleSeconds = defaultReceiveIdleSeconds;
    QString autoReceiveFolder; // empty: auto-receive off
    // The characters that end a block instead of the line terminator's; empty
    // keeps the terminator. EIA tape always ends blocks with its own code.
    QByteArray endOfBlock;

    bool operator==(const Machine &) const = default;

    // True when any field after dripFeed differs from its default, and so when
    // those keys are written at all.
    bool hasExtendedFields() const;

    // Every case of an enumeration, in declaration order (the pickers' order).
    template <typename Enum>
    static std::span<const Enum> allCases();

    static QString rawValue(Parity parity);
    static QString rawValue(FlowControl flowControl);
    static QString rawValue(LineTerminator terminator);
    static QString rawValue(TapeMark mark);
    static QString rawValue(CharacterCode code);
    // Exact, case-sensitive match of a raw value; anything else is no case.
    template <typename Enum>
    static std::optional<Enum> fromRawValue(const QString &raw);

    // Texts for pickers and summaries. Flow control reads "XON/XOFF",
    // "RTS/CTS" or the translated "no flow"; terminators show their raw value.
    static QString label(Parity parity, AppLanguage language);
    static QString label(FlowControl flowControl, AppLanguage language);
    static QString label(LineTerminator terminator, AppLanguage language);
    static QString label(TapeMark mark, AppLanguage language);
    static QString label(CharacterCode code, AppLanguage language);

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
    // other tools reading machines.json may rely on. The keys after "dripFeed"
    // appear only when hasExtendedFields().
    QByteArray toJson() const;
    // Every key up to "dripFeed" is required with its exact type and a known raw
    // value; otherwise there is no profile. The later keys may be missing (a
    // file from before them) and then take their defaults, but one that is
    // present must have the right type. Numbers out of range are clamped.
    // Unknown keys are ignored.
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
template <>
std::span<const Machine::TapeMark> Machine::allCases<Machine::TapeMark>();
template <>
std::span<const Machine::CharacterCode> Machine::allCases<Machine::CharacterCode>();

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
