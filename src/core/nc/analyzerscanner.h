#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// The hand-written tokeniser behind ProgramAnalyzer. Analysing a program runs
// on every edit, and one regular-expression search per line managed about a
// twentieth of the speed of this loop on large programs; the tests hold it to
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

struct Token {
    QChar letter;     // as written
    QStringView value; // the signed number as written, a view into the line
};

// Calls `sink(letter, value)` for each word of the line, in order, with the
// line's comments treated as blanks. Returns nothing; the line must not hold
// line breaks.
template <typename Sink>
void forEachToken(QStringView line, Sink &&sink);

// The same, collected; for tests and tools that want a list.
QList<Token> tokens(QStringView line);

// ---------------------------------------------------------------------------

namespace detail {

// Index just past the ")" closing a "(" at `open`, or -1 when the line has none.
inline qsizetype closeOfParen(const char16_t *p, qsizetype open, qsizetype size)
{
    for (qsizetype i = open + 1; i < size; ++i) {
        if (p[i] == u')') {
            return i + 1;
        }
    }
    return -1;
}

// Length of a number starting at `i` ([+-]?(digits[.digits] | .digits)), or 0.
inline qsizetype numberLength(const char16_t *p, qsizetype i, qsizetype size)
{
    qsizetype j = i;
    if (j < size && (p[j] == u'+' || p[j] == u'-')) {
        ++j;
    }
    const qsizetype digitsStart = j;
    while (j < size && isAsciiDigit(p[j])) {
        ++j;
    }
    if (j > digitsStart) {
        if (j < size && p[j] == u'.') {
            ++j;
            while (j < size && isAsciiDigit(p[j])) {
                ++j;
            }
        }
        return j - i;
    }
    if (j + 1 < size && p[j] == u'.' && isAsciiDigit(p[j + 1])) {
        j += 2;
        while (j < size && isAsciiDigit(p[j])) {
            ++j;
        }
        return j - i;
    }
    return 0;
}

} // namespace detail

template <typename Sink>
void forEachToken(QStringView line, Sink &&sink)
{
    const auto *p = reinterpret_cast<const char16_t *>(line.utf16());
    const qsizetype size = line.size();
    // Once a "(" has found no ")" after it, no later "(" can be closed either.
    bool parenCanClose = true;
    qsizetype i = 0;
    while (i < size) {
        const char16_t c = p[i];
        const char16_t upper = c & ~0x20;
        if (upper >= u'A' && upper <= u'Z') {
            // A blanked comment is a space to the word pattern, so "X(c)5" is X5.
            qsizetype j = i + 1;
            for (;;) {
                if (j >= size) {
                    break;
                }
                if (isSpace(p[j])) {
                    ++j;
                } else if (p[j] == u'(' && parenCanClose) {
                    const qsizetype close = detail::closeOfParen(p, j, size);
                    if (close < 0) {
                        parenCanClose = false;
                        break;
                    }
                    j = close;
                } else {
                    break;
                }
            }
            const qsizetype length = detail::numberLength(p, j, size);
            if (length > 0) {
                sink(QChar(c), line.sliced(j, length));
                i = j + length;
            } else {
                i = j > i + 1 ? j : i + 1;
            }
            continue;
        }
        if (c == u'(' && parenCanClose) {
            const qsizetype close = detail::closeOfParen(p, i, size);
            if (close < 0) {
                parenCanClose = false;
                ++i;
            } else {
                i = close;
            }
            continue;
        }
        if (c == u';') {
            return; // the rest of the line is comment
        }
        ++i;
    }
}

} // namespace AnalyzerScan
