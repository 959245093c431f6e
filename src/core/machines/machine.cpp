#include "machine.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>

namespace {

constexpr Machine::Parity kParities[] = {Machine::Parity::none, Machine::Parity::even, Machine::Parity::odd,
                                         Machine::Parity::mark, Machine::Parity::space};
constexpr Machine::FlowControl kFlowControls[] = {Machine::FlowControl::xonXoff, Machine::FlowControl::rtsCts,
                                                  Machine::FlowControl::none};
constexpr Machine::LineTerminator kTerminators[] = {Machine::LineTerminator::cr, Machine::LineTerminator::crlf,
                                                    Machine::LineTerminator::lf};
constexpr Machine::TapeMark kTapeMarks[] = {Machine::TapeMark::none, Machine::TapeMark::percent,
                                            Machine::TapeMark::dc2, Machine::TapeMark::dc4};
constexpr Machine::CharacterCode kCharacterCodes[] = {Machine::CharacterCode::ascii, Machine::CharacterCode::eia};

// JSON string literal for `text`: quotes, backslashes and control characters
// escaped, everything else written as UTF-8.
void appendJsonString(QByteArray &out, const QString &text)
{
    out += '"';
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        const auto byte = static_cast<unsigned char>(c);
        switch (byte) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\b':
            out += "\\b";
            break;
        case '\f':
            out += "\\f";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (byte < 0x20) {
                out += "\\u00";
                out += QByteArray::number(byte, 16).rightJustified(2, '0');
            } else {
                out += c;
            }
        }
    }
    out += '"';
}

void appendKey(QByteArray &out, const char *key, bool first = false)
{
    if (!first) {
        out += ',';
    }
    out += '"';
    out += key;
    out += "\":";
}

const char *boolText(bool value)
{
    return value ? "true" : "false";
}

std::optional<QString> stringField(const QJsonObject &object, const char *key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isString()) {
        return std::nullopt;
    }
    return value.toString();
}

// Whole numbers only: 4800.5 or a string "4800" is the wrong type, as is a
// number beyond the 64-bit range.
std::optional<qint64> integerField(const QJsonObject &object, const char *key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isDouble()) {
        return std::nullopt;
    }
    const qint64 a = value.toInteger(0);
    const qint64 b = value.toInteger(1);
    if (a != b) {
        return std::nullopt;
    }
    return a;
}

std::optional<bool> boolField(const QJsonObject &object, const char *key)
{
    const QJsonValue value = object.value(QLatin1String(key));
    if (!value.isBool()) {
        return std::nullopt;
    }
    return value.toBool();
}

template <typename Enum>
std::optional<Enum> enumField(const QJsonObject &object, const char *key)
{
    const std::optional<QString> raw = stringField(object, key);
    if (!raw) {
        return std::nullopt;
    }
    return Machine::fromRawValue<Enum>(*raw);
}

// The later keys: a missing one keeps the default already in `target`; one of
// the wrong type fails the profile like a bad required key does.
template <typename T, typename Read>
bool optionalField(const QJsonObject &object, const char *key, T &target, Read read)
{
    if (!object.contains(QLatin1String(key))) {
        return true;
    }
    auto value = read(object, key);
    if (!value) {
        return false;
    }
    target = *value;
    return true;
}

// Not an assertion: validation bounds the speed only from below, and a profile
// read from a hand-edited machines.json is never validated, so a speed of 2^32
// reaches here from user data. Clamped, the port refuses it with its own error.
int clampToInt(qint64 value)
{
    return static_cast<int>(
        std::clamp<qint64>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

} // namespace

QString MachineValidationError::description(AppLanguage language) const
{
    switch (kind) {
    case Kind::emptyName:
        return L10n::text("Name is required", language);
    case Kind::invalidBaudRate:
        return L10n::text("Baud rate must be greater than zero", language);
    case Kind::invalidDataBits:
        return L10n::text("Data bits must be 5, 6, 7, or 8", language);
    case Kind::invalidStopBits:
        return L10n::text("Stop bits must be 1 or 2", language);
    }
    return {};
}

template <>
std::span<const Machine::Parity> Machine::allCases<Machine::Parity>()
{
    return kParities;
}

template <>
std::span<const Machine::FlowControl> Machine::allCases<Machine::FlowControl>()
{
    return kFlowControls;
}

template <>
std::span<const Machine::LineTerminator> Machine::allCases<Machine::LineTerminator>()
{
    return kTerminators;
}

template <>
std::span<const Machine::TapeMark> Machine::allCases<Machine::TapeMark>()
{
    return kTapeMarks;
}

template <>
std::span<const Machine::CharacterCode> Machine::allCases<Machine::CharacterCode>()
{
    return kCharacterCodes;
}

QString Machine::rawValue(Parity parity)
{
    switch (parity) {
    case Parity::none:
        return QStringLiteral("N");
    case Parity::even:
        return QStringLiteral("E");
    case Parity::odd:
        return QStringLiteral("O");
    case Parity::mark:
        return QStringLiteral("M");
    case Parity::space:
        return QStringLiteral("S");
    }
    return {};
}

QString Machine::rawValue(FlowControl flowControl)
{
    switch (flowControl) {
    case FlowControl::xonXoff:
        return QStringLiteral("xonxoff");
    case FlowControl::rtsCts:
        return QStringLiteral("rtscts");
    case FlowControl::none:
        return QStringLiteral("none");
    }
    return {};
}

QString Machine::rawValue(LineTerminator terminator)
{
    switch (terminator) {
    case LineTerminator::cr:
        return QStringLiteral("CR");
    case LineTerminator::crlf:
        return QStringLiteral("CRLF");
    case LineTerminator::lf:
        return QStringLiteral("LF");
    }
    return {};
}

QString Machine::rawValue(TapeMark mark)
{
    switch (mark) {
    case TapeMark::none:
        return QStringLiteral("none");
    case TapeMark::percent:
        return QStringLiteral("%");
    case TapeMark::dc2:
        return QStringLiteral("DC2");
    case TapeMark::dc4:
        return QStringLiteral("DC4");
    }
    return {};
}

QString Machine::rawValue(CharacterCode code)
{
    switch (code) {
    case CharacterCode::ascii:
        return QStringLiteral("ASCII");
    case CharacterCode::eia:
        return QStringLiteral("EIA");
    }
    return {};
}

QString Machine::label(TapeMark mark, AppLanguage language)
{
    return mark == TapeMark::none ? L10n::text("None", language) : rawValue(mark);
}

QString Machine::label(CharacterCode code, AppLanguage language)
{
    switch (code) {
    case CharacterCode::ascii:
        return L10n::text("ASCII (ISO)", language);
    case CharacterCode::eia:
        return L10n::text("EIA RS-244", language);
    }
    return {};
}

bool Machine::hasExtendedFields() const
{
    return leaderLength != 0 || trailerLength != 0 || startCharacter != TapeMark::none ||
           endCharacter != TapeMark::none || lineDelayMs != 0 || stripComments || stripSpaces || stripBlankLines ||
           upperCase || waitForXon || characterCode != CharacterCode::ascii ||
           receiveIdleSeconds != defaultReceiveIdleSeconds || !autoReceiveFolder.isEmpty() || !endOfBlock.isEmpty();
}

QString Machine::label(Parity parity, AppLanguage language)
{
    switch (parity) {
    case Parity::none:
        return L10n::text("None", language);
    case Parity::even:
        return L10n::text("Even", language);
    case Parity::odd:
        return L10n::text("Odd", language);
    case Parity::mark:
        return L10n::text("Mark", language);
    case Parity::space:
        return L10n::text("Space", language);
    }
    return {};
}

QString Machine::label(FlowControl flowControl, AppLanguage language)
{
    switch (flowControl) {
    case FlowControl::xonXoff:
        return QStringLiteral("XON/XOFF");
    case FlowControl::rtsCts:
        return QStringLiteral("RTS/CTS");
    case FlowControl::none:
        return L10n::text("no flow", language);
    }
    return {};
}

QString Machine::label(LineTerminator terminator, AppLanguage)
{
    return rawValue(terminator);
}

QByteArray Machine::terminatorBytes(LineTerminator terminator)
{
    switch (terminator) {
    case LineTerminator::cr:
        return QByteArrayLiteral("\r");
    case LineTerminator::crlf:
        return QByteArrayLiteral("\r\n");
    case LineTerminator::lf:
        return QByteArrayLiteral("\n");
    }
    return {};
}

const std::array<qint64, 11> Machine::baudRateOptions = {110,  300,  600,   1200,  2400,  4800,
                                                         9600, 19200, 38400, 57600, 115200};

QList<Machine> Machine::defaults()
{
    Machine fanuc;
    fanuc.id = QStringLiteral("fanuc");
    fanuc.name = QStringLiteral("Fanuc");
    fanuc.baudRate = 4800;
    fanuc.dataBits = 7;
    fanuc.parity = Parity::even;
    fanuc.stopBits = 2;
    fanuc.flowControl = FlowControl::xonXoff;
    fanuc.lineTerminator = LineTerminator::cr;

    Machine fadal;
    fadal.id = QStringLiteral("fadal");
    fadal.name = QStringLiteral("Fadal");
    fadal.baudRate = 9600;
    fadal.dataBits = 8;
    fadal.parity = Parity::none;
    fadal.stopBits = 1;
    fadal.flowControl = FlowControl::xonXoff;
    fadal.lineTerminator = LineTerminator::crlf;

    return {fanuc, fadal};
}

std::variant<Machine, MachineValidationError> Machine::validated() const
{
    using Kind = MachineValidationError::Kind;
    const QString trimmedName = name.trimmed();
    if (trimmedName.isEmpty()) {
        return MachineValidationError{Kind::emptyName};
    }
    if (baudRate < 1) {
        return MachineValidationError{Kind::invalidBaudRate};
    }
    if (dataBits < 5 || dataBits > 8) {
        return MachineValidationError{Kind::invalidDataBits};
    }
    if (stopBits != 1 && stopBits != 2) {
        return MachineValidationError{Kind::invalidStopBits};
    }
    Machine copy = *this;
    copy.name = trimmedName;
    return copy;
}

QString Machine::summary(AppLanguage language) const
{
    const QString separator = QStringLiteral(" \u00B7 ");
    return QString::number(baudRate) + QLatin1Char(' ') + QString::number(dataBits) + rawValue(parity) +
           QString::number(stopBits) + separator + label(flowControl, language) + separator +
           rawValue(lineTerminator);
}

SerialLineSettings Machine::lineSettings() const
{
    SerialLineSettings settings;
    settings.baudRate = clampToInt(baudRate);
    settings.dataBits = clampToInt(dataBits);
    switch (parity) {
    case Parity::none:
        settings.parity = 0;
        break;
    case Parity::even:
        settings.parity = 1;
        break;
    case Parity::odd:
        settings.parity = 2;
        break;
    case Parity::mark:
        settings.parity = 3;
        break;
    case Parity::space:
        settings.parity = 4;
        break;
    }
    settings.stopBits = clampToInt(stopBits);
    switch (flowControl) {
    case FlowControl::none:
        settings.flowControl = 0;
        break;
    case FlowControl::xonXoff:
        settings.flowControl = 1;
        break;
    case FlowControl::rtsCts:
        settings.flowControl = 2;
        break;
    }
    settings.dtr = dtr;
    settings.rts = rts;
    settings.dripFeed = dripFeed;
    return settings;
}

QByteArray Machine::toJson() const
{
    QByteArray out;
    out.reserve(256);
    out += '{';
    appendKey(out, "id", true);
    appendJsonString(out, id);
    appendKey(out, "name");
    appendJsonString(out, name);
    appendKey(out, "baudRate");
    out += QByteArray::number(baudRate);
    appendKey(out, "dataBits");
    out += QByteArray::number(dataBits);
    appendKey(out, "parity");
    appendJsonString(out, rawValue(parity));
    appendKey(out, "stopBits");
    out += QByteArray::number(stopBits);
    appendKey(out, "flowControl");
    appendJsonString(out, rawValue(flowControl));
    appendKey(out, "lineTerminator");
    appendJsonString(out, rawValue(lineTerminator));
    appendKey(out, "dtr");
    out += boolText(dtr);
    appendKey(out, "rts");
    out += boolText(rts);
    appendKey(out, "dripFeed");
    out += boolText(dripFeed);
    if (hasExtendedFields()) {
        appendKey(out, "leaderLength");
        out += QByteArray::number(leaderLength);
        appendKey(out, "trailerLength");
        out += QByteArray::number(trailerLength);
        appendKey(out, "startCharacter");
        appendJsonString(out, rawValue(startCharacter));
        appendKey(out, "endCharacter");
        appendJsonString(out, rawValue(endCharacter));
        appendKey(out, "lineDelayMs");
        out += QByteArray::number(lineDelayMs);
        appendKey(out, "stripComments");
        out += boolText(stripComments);
        appendKey(out, "stripSpaces");
        out += boolText(stripSpaces);
        appendKey(out, "stripBlankLines");
        out += boolText(stripBlankLines);
        appendKey(out, "upperCase");
        out += boolText(upperCase);
        appendKey(out, "waitForXon");
        out += boolText(waitForXon);
        appendKey(out, "characterCode");
        appendJsonString(out, rawValue(characterCode));
        appendKey(out, "receiveIdleSeconds");
        out += QByteArray::number(receiveIdleSeconds);
        appendKey(out, "autoReceiveFolder");
        appendJsonString(out, autoReceiveFolder);
        // Bytes, not text: kept as Latin-1 so any control character round-trips.
        appendKey(out, "endOfBlock");
        appendJsonString(out, QString::fromLatin1(endOfBlock));
    }
    out += '}';
    return out;
}

std::optional<Machine> Machine::fromJson(const QJsonValue &value)
{
    if (!value.isObject()) {
        return std::nullopt;
    }
    const QJsonObject object = value.toObject();
    const auto idValue = stringField(object, "id");
    const auto nameValue = stringField(object, "name");
    const auto baudValue = integerField(object, "baudRate");
    const auto dataValue = integerField(object, "dataBits");
    const auto parityValue = enumField<Parity>(object, "parity");
    const auto stopValue = integerField(object, "stopBits");
    const auto flowValue = enumField<FlowControl>(object, "flowControl");
    const auto terminatorValue = enumField<LineTerminator>(object, "lineTerminator");
    const auto dtrValue = boolField(object, "dtr");
    const auto rtsValue = boolField(object, "rts");
    const auto dripValue = boolField(object, "dripFeed");
    if (!idValue || !nameValue || !baudValue || !dataValue || !parityValue || !stopValue || !flowValue ||
        !terminatorValue || !dtrValue || !rtsValue || !dripValue) {
        return std::nullopt;
    }
    Machine machine;
    machine.id = *idValue;
    machine.name = *nameValue;
    machine.baudRate = *baudValue;
    machine.dataBits = *dataValue;
    machine.parity = *parityValue;
    machine.stopBits = *stopValue;
    machine.flowControl = *flowValue;
    machine.lineTerminator = *terminatorValue;
    machine.dtr = *dtrValue;
    machine.rts = *rtsValue;
    machine.dripFeed = *dripValue;

    QString endOfBlockText;
    const bool extendedOk =
        optionalField(object, "leaderLength", machine.leaderLength, integerField) &&
        optionalField(object, "trailerLength", machine.trailerLength, integerField) &&
        optionalField(object, "startCharacter", machine.startCharacter, enumField<TapeMark>) &&
        optionalField(object, "endCharacter", machine.endCharacter, enumField<TapeMark>) &&
        optionalField(object, "lineDelayMs", machine.lineDelayMs, integerField) &&
        optionalField(object, "stripComments", machine.stripComments, boolField) &&
        optionalField(object, "stripSpaces", machine.stripSpaces, boolField) &&
        optionalField(object, "stripBlankLines", machine.stripBlankLines, boolField) &&
        optionalField(object, "upperCase", machine.upperCase, boolField) &&
        optionalField(object, "waitForXon", machine.waitForXon, boolField) &&
        optionalField(object, "characterCode", machine.characterCode, enumField<CharacterCode>) &&
        optionalField(object, "receiveIdleSeconds", machine.receiveIdleSeconds, integerField) &&
        optionalField(object, "autoReceiveFolder", machine.autoReceiveFolder, stringField) &&
        optionalField(object, "endOfBlock", endOfBlockText, stringField);
    if (!extendedOk) {
        return std::nullopt;
    }
    // A hand-edited file may hold anything; the sender gets sane bounds.
    machine.leaderLength = std::clamp<qint64>(machine.leaderLength, 0, maxLeaderLength);
    machine.trailerLength = std::clamp<qint64>(machine.trailerLength, 0, maxLeaderLength);
    machine.lineDelayMs = std::clamp<qint64>(machine.lineDelayMs, 0, maxLineDelayMs);
    machine.receiveIdleSeconds = std::max<qint64>(machine.receiveIdleSeconds, 1);
    machine.endOfBlock = endOfBlockText.toLatin1();
    return machine;
}

QByteArray Machine::encodeList(const QList<Machine> &machines)
{
    QByteArray out;
    out.reserve(machines.size() * 220 + 2);
    out += '[';
    for (qsizetype i = 0; i < machines.size(); ++i) {
        if (i > 0) {
            out += ',';
        }
        out += machines.at(i).toJson();
    }
    out += ']';
    return out;
}

std::optional<QList<Machine>> Machine::decodeList(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray()) {
        return std::nullopt;
    }
    const QJsonArray array = document.array();
    QList<Machine> machines;
    machines.reserve(array.size());
    for (const QJsonValue &value : array) {
        std::optional<Machine> machine = fromJson(value);
        if (!machine) {
            return std::nullopt;
        }
        machines.append(std::move(*machine));
    }
    return machines;
}

size_t qHash(const Machine &machine, size_t seed)
{
    return qHashMulti(seed, machine.id, machine.name, machine.baudRate, machine.dataBits,
                      static_cast<int>(machine.parity), machine.stopBits, static_cast<int>(machine.flowControl),
                      static_cast<int>(machine.lineTerminator), machine.dtr, machine.rts, machine.dripFeed) ^
           qHashMulti(seed, machine.leaderLength, machine.trailerLength, static_cast<int>(machine.startCharacter),
                      static_cast<int>(machine.endCharacter), machine.lineDelayMs, machine.stripComments,
                      machine.stripSpaces, machine.stripBlankLines, machine.upperCase, machine.waitForXon,
                      static_cast<int>(machine.characterCode), machine.receiveIdleSeconds, machine.autoReceiveFolder,
                      machine.endOfBlock);
}
