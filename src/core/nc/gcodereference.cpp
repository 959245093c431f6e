#include "gcodereference.h"

#include <climits>

namespace {

struct CodeText {
    int code;
    const char *english;
};

// The minus of G44 is U+2212 and the dot of G96 is U+00B7, as the descriptions
// have always been written; the Spanish table is keyed on these exact texts.
constexpr CodeText kGCodes[] = {
    {0, VARN_TR_KEY("Rapid positioning (non-cutting)")},
    {1, VARN_TR_KEY("Linear interpolation (cutting)")},
    {2, VARN_TR_KEY("Clockwise arc (CW)")},
    {3, VARN_TR_KEY("Counterclockwise arc (CCW)")},
    {4, VARN_TR_KEY("Dwell")},
    {9, VARN_TR_KEY("Exact stop (one block)")},
    {10, VARN_TR_KEY("Programmable data input (offsets)")},
    {17, VARN_TR_KEY("XY plane selection")},
    {18, VARN_TR_KEY("XZ plane selection")},
    {19, VARN_TR_KEY("YZ plane selection")},
    {20, VARN_TR_KEY("Units in inches")},
    {21, VARN_TR_KEY("Units in millimeters")},
    {28, VARN_TR_KEY("Return to machine zero (home)")},
    {30, VARN_TR_KEY("Return to reference point 2/3/4")},
    {40, VARN_TR_KEY("Cancel cutter radius compensation")},
    {41, VARN_TR_KEY("Cutter radius compensation left")},
    {42, VARN_TR_KEY("Cutter radius compensation right")},
    {43, VARN_TR_KEY("Tool length compensation (+)")},
    {44, VARN_TR_KEY("Tool length compensation (−)")},
    {49, VARN_TR_KEY("Cancel tool length compensation")},
    {53, VARN_TR_KEY("Machine coordinates (absolute position)")},
    {54, VARN_TR_KEY("Work coordinate system 1")},
    {55, VARN_TR_KEY("Work coordinate system 2")},
    {56, VARN_TR_KEY("Work coordinate system 3")},
    {57, VARN_TR_KEY("Work coordinate system 4")},
    {58, VARN_TR_KEY("Work coordinate system 5")},
    {59, VARN_TR_KEY("Work coordinate system 6")},
    {73, VARN_TR_KEY("High-speed peck drilling cycle")},
    {74, VARN_TR_KEY("Left-hand tapping cycle")},
    {76, VARN_TR_KEY("Fine boring cycle")},
    {80, VARN_TR_KEY("Cancel canned cycle")},
    {81, VARN_TR_KEY("Drilling cycle")},
    {82, VARN_TR_KEY("Drilling cycle with dwell")},
    {83, VARN_TR_KEY("Deep-hole peck drilling cycle")},
    {84, VARN_TR_KEY("Tapping cycle")},
    {85, VARN_TR_KEY("Reaming/boring cycle")},
    {86, VARN_TR_KEY("Boring cycle")},
    {90, VARN_TR_KEY("Absolute positioning")},
    {91, VARN_TR_KEY("Incremental positioning")},
    {92, VARN_TR_KEY("Set coordinate system / spindle speed limit")},
    {94, VARN_TR_KEY("Feed per minute")},
    {95, VARN_TR_KEY("Feed per revolution")},
    {96, VARN_TR_KEY("Constant surface speed (SFM/m·min)")},
    {97, VARN_TR_KEY("Constant spindle RPM")},
    {98, VARN_TR_KEY("Return to initial point in canned cycle")},
    {99, VARN_TR_KEY("Return to R plane in canned cycle")},
};

constexpr CodeText kMCodes[] = {
    {0, VARN_TR_KEY("Program stop")},
    {1, VARN_TR_KEY("Optional stop")},
    {2, VARN_TR_KEY("End of program")},
    {3, VARN_TR_KEY("Spindle ON clockwise (CW)")},
    {4, VARN_TR_KEY("Spindle ON counterclockwise (CCW)")},
    {5, VARN_TR_KEY("Spindle stop")},
    {6, VARN_TR_KEY("Tool change")},
    {7, VARN_TR_KEY("Mist coolant ON")},
    {8, VARN_TR_KEY("Coolant ON")},
    {9, VARN_TR_KEY("Coolant OFF")},
    {19, VARN_TR_KEY("Spindle orientation")},
    {30, VARN_TR_KEY("End of program and rewind")},
    {41, VARN_TR_KEY("Low speed range")},
    {42, VARN_TR_KEY("High speed range")},
    {98, VARN_TR_KEY("Call subprogram")},
    {99, VARN_TR_KEY("End subprogram / return")},
};

template <std::size_t N>
QMap<int, QString> makeTable(const CodeText (&entries)[N])
{
    QMap<int, QString> table;
    for (const CodeText &entry : entries) {
        table.insert(entry.code, QString::fromUtf8(entry.english));
    }
    return table;
}

const QMap<int, QString> *tableFor(QChar letter)
{
    if (letter == QLatin1Char('G')) {
        return &GCodeReference::gCodes();
    }
    if (letter == QLatin1Char('M')) {
        return &GCodeReference::mCodes();
    }
    return nullptr;
}

} // namespace

std::optional<int> GCodeReference::canonicalKey(QStringView codeText)
{
    // The run is taken over every Unicode decimal digit, but only ASCII digits
    // make an integer: "G١" is a malformed code, not G1.
    qsizetype end = 0;
    bool asciiOnly = true;
    while (end < codeText.size()) {
        char32_t cp = codeText[end].unicode();
        qsizetype width = 1;
        if (QChar::isHighSurrogate(cp) && end + 1 < codeText.size() && codeText[end + 1].isLowSurrogate()) {
            cp = QChar::surrogateToUcs4(codeText[end], codeText[end + 1]);
            width = 2;
        }
        if (!QChar::isDigit(cp)) {
            break;
        }
        asciiOnly = asciiOnly && cp >= U'0' && cp <= U'9';
        end += width;
    }
    if (end == 0 || !asciiOnly) {
        return std::nullopt;
    }
    long long value = 0;
    for (qsizetype i = 0; i < end; ++i) {
        value = value * 10 + (codeText[i].unicode() - u'0');
        if (value > INT_MAX) {
            return std::nullopt;
        }
    }
    return static_cast<int>(value);
}

bool GCodeReference::isKnown(QChar letter, QStringView codeText)
{
    const QMap<int, QString> *table = tableFor(letter);
    if (!table) {
        return false;
    }
    const std::optional<int> key = canonicalKey(codeText);
    return key && table->contains(*key);
}

std::optional<QString> GCodeReference::describe(QChar letter, QStringView codeText, AppLanguage language)
{
    const QMap<int, QString> *table = tableFor(letter);
    if (!table) {
        return std::nullopt;
    }
    const std::optional<int> key = canonicalKey(codeText);
    if (!key) {
        return std::nullopt;
    }
    const auto found = table->constFind(*key);
    if (found == table->cend()) {
        return std::nullopt;
    }
    return QString(letter) + QString::asprintf("%02d", *key) + QStringLiteral(" \u00B7 ") +
           L10n::text(*found, language);
}

const QMap<int, QString> &GCodeReference::gCodes()
{
    static const QMap<int, QString> table = makeTable(kGCodes);
    return table;
}

const QMap<int, QString> &GCodeReference::mCodes()
{
    static const QMap<int, QString> table = makeTable(kMCodes);
    return table;
}
