#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <algorithm>
#include <optional>

// The hand-written tokeniser behind ProgramAnalyzer. Analysing a program runs
// on every edit, and one regular-expression search per line read large programs
// at about 13 MB/s against some 500 MB/s for this loop; the tests hold it to
// the regular expressions it replaces:
//   word:          ([A-Za-z])\s*([+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+))
//   paren comment: \([^)]*\)
//   semi comment:  ;[^\n]*
// with `\s` meaning the Unicode White_Space characters. Everything works on
// views into the program text: no allocation per line or per word.
namespace AnalyzerScan {

// Blanks as trimming sees them: tab and the Unicode space separators.
constexpr bool isBlank(char16_t c)
{
    if (c < 0x80) {
        return c == u' ' || c == u'\t';
    }
    return c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F || c == 0x205F ||
           c == 0x3000;
}

// What `\s` matches: the Unicode White_Space characters.
constexpr bool isSpace(char16_t c)
{
    if (c < 0x80) {
        return c == u' ' || (c >= 0x09 && c <= 0x0D);
    }
    return c == 0x85 || c == 0x2028 || c == 0x2029 || isBlank(c);
}

constexpr bool isAsciiDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

// The line without blanks at either end.
QStringView trimmed(QStringView line);

// The first comment of a line: the first closed "( )" comment wins, even after a
// ";"; otherwise what follows the first ";". Trimmed; absent when there is none.
std::optional<QString> firstComment(QStringView line);

// "O" + the run of digits after a leading "O"/"o" of the trimmed line, if any.
std::optional<QString> programNumber(QStringView line);

// The number of a value as QString::toDouble reads it; false when it is out of
// range (overflow, or underflow to zero), which counts as "no value".
bool parseValue(QStringView value, double *out);

// One word as the tokeniser found it. The number was read on the way, so most
// values need no second look at their characters.
struct Word {
    QChar letter;        // as written
    QStringView value;   // the signed number as written, a view into the text
    int leadingInteger;  // the value's leading digits as an integer, -1 without
                         // any (a sign or a dot first); capped at 100
    quint64 mantissa;    // all digits as one integer, when `exact`
    int fraction;        // digits after the dot
    bool negative;
    bool exact;          // mantissa <= 2^53 and fraction <= 22: one division is exact

    // The value as QString::toDouble reads it; false when that would fail.
    bool number(double *out) const;
};

struct Token {
    QChar letter;
    QStringView value;
};

// Reads one line from `p` and calls `sink(const Word &)` for each word, with the
// line's comments treated as blanks. Stops at the first "\n" or "\r" or at `end`
// and returns where it stopped.
template <typename Sink>
const char16_t *scanLine(const char16_t *p, const char16_t *end, Sink &&sink);

// The words of one line (no line breaks in it), collected; for tests and tools.
QList<Token> tokens(QStringView line);

// ---------------------------------------------------------------------------

namespace detail {

inline constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                          1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                          1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

constexpr bool isLineBreak(char16_t c)
{
    return c == u'\n' || c == u'\r';
}

inline const char16_t *lineEnd(const char16_t *p, const char16_t *end)
{
    while (p < end && !isLineBreak(*p)) {
        ++p;
    }
    return p;
}

// Just past the ")" closing the "(" at `open`, or nullptr when the line has none.
inline const char16_t *closeOfParen(const char16_t *open, const char16_t *end)
{
    for (const char16_t *p = open + 1; p < end; ++p) {
        if (*p == u')') {
            return p + 1;
        }
        if (isLineBreak(*p)) {
            return nullptr;
        }
    }
    return nullptr;
}

} // namespace detail

inline bool Word::number(double *out) const
{
    if (exact) {
        const double magnitude = double(mantissa) / detail::kPowersOfTen[fraction];
        *out = negative ? -magnitude : magnitude;
        return true;
    }
    return parseValue(value, out);
}

template <typename Sink>
const char16_t *scanLine(const char16_t *p, const char16_t *end, Sink &&sink)
{
    // Once a "(" has found no ")" after it, no later "(" can be closed either.
    bool parenCanClose = true;
    while (p < end) {
        const char16_t c = *p;
        const char16_t upper = c & ~0x20;
        if (upper >= u'A' && upper <= u'Z') {
            // A blanked comment is a space to the word pattern, so "X(c)5" is X5.
            const char16_t *q = p + 1;
            while (q < end) {
                if (isSpace(*q) && !detail::isLineBreak(*q)) {
                    ++q;
                } else if (*q == u'(' && parenCanClose) {
                    const char16_t *close = detail::closeOfParen(q, end);
                    if (!close) {
                        parenCanClose = false;
                        break;
                    }
                    q = close;
                } else {
                    break;
                }
            }
            const char16_t *numberStart = q;
            bool negative = false;
            if (q < end && (*q == u'+' || *q == u'-')) {
                negative = *q == u'-';
                ++q;
            }
            quint64 mantissa = 0;
            int significant = 0;
            int fraction = 0;
            int leading = -1;
            const char16_t *digits = q;
            while (q < end && isAsciiDigit(*q)) {
                const int d = *q - u'0';
                significant += (mantissa != 0 || d != 0);
                mantissa = mantissa * 10 + d;
                leading = leading < 0 ? d : std::min(leading * 10 + d, 100);
                ++q;
                if (significant > 16) {
                    break;
                }
            }
            while (q < end && isAsciiDigit(*q)) { // past 16 significant digits: slow path
                ++q;
            }
            const bool hasInteger = q > digits;
            if (q < end && *q == u'.' && (hasInteger || (q + 1 < end && isAsciiDigit(q[1])))) {
                ++q;
                while (q < end && isAsciiDigit(*q)) {
                    const int d = *q - u'0';
                    if (significant <= 16) {
                        significant += (mantissa != 0 || d != 0);
                        mantissa = mantissa * 10 + d;
                        ++fraction;
                    }
                    ++q;
                }
            } else if (!hasInteger) {
                // No number after the letter: the letter is no word; go on after the blanks.
                p = numberStart;
                continue;
            }
            const Word word{QChar(c),
                            QStringView(numberStart, q - numberStart),
                            numberStart == digits ? leading : -1,
                            mantissa,
                            fraction,
                            negative,
                            significant <= 16 && mantissa <= (quint64(1) << 53) && fraction <= 22};
            sink(word);
            p = q;
            continue;
        }
        if (c == u'(' && parenCanClose) {
            const char16_t *close = detail::closeOfParen(p, end);
            if (!close) {
                parenCanClose = false;
                ++p;
            } else {
                p = close;
            }
            continue;
        }
        if (c == u';') {
            return detail::lineEnd(p, end); // the rest of the line is comment
        }
        if (detail::isLineBreak(c)) {
            return p;
        }
        ++p;
    }
    return end;
}

} // namespace AnalyzerScan
