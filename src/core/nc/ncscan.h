#pragma once

// Hand-written scanners behind the NC text tools. The tools are defined by a
// handful of small regular expressions; running QRegularExpression once per
// line of a 100 MB program is far too slow, so these loops walk the UTF-16
// data directly. Each one mirrors exactly one pattern (the tests check them
// against the patterns themselves), including the corners: ASCII-only digits
// and letters, the Unicode white space of `\s`, and `$` matching before a
// final line terminator.

#include <QString>
#include <QStringView>

#include <cstring>

namespace NCScan {

using Char = char16_t;

inline bool isAsciiDigit(Char c)
{
    return c >= u'0' && c <= u'9';
}

inline bool isAsciiLetter(Char c)
{
    return (c | 0x20) >= u'a' && (c | 0x20) <= u'z';
}

inline bool isBlank(Char c) // [ \t]
{
    return c == u' ' || c == u'\t';
}

// The Unicode space separators (general category Zs) above Latin-1.
inline bool isWideSpaceSeparator(Char c)
{
    return c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F || c == 0x205F || c == 0x3000;
}

// What trimming removes: tab and the space separators. Vertical tab, form
// feed and the line/paragraph separators are not horizontal and stay.
inline bool isTrimSpace(Char c)
{
    if (c < 0x80) {
        return c == u' ' || c == u'\t';
    }
    return c == 0xA0 || isWideSpaceSeparator(c);
}

// `\s` of the patterns: the Unicode White_Space property, as the ICU engine
// the patterns were written for defines it.
inline bool isPatternSpace(Char c)
{
    if (c < 0x80) {
        return c == u' ' || (c >= 0x09 && c <= 0x0D);
    }
    return c == 0x85 || c == 0xA0 || c == 0x2028 || c == 0x2029 || isWideSpaceSeparator(c);
}

// Characters before which `$` also matches when they end the input.
inline bool isDollarTerminator(Char c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

inline const Char *skipTrimSpace(const Char *p, const Char *e)
{
    while (p < e && isTrimSpace(*p)) {
        ++p;
    }
    return p;
}

inline const Char *trimSpaceBack(const Char *b, const Char *e)
{
    while (e > b && isTrimSpace(e[-1])) {
        --e;
    }
    return e;
}

inline bool isAllTrimSpace(const Char *p, const Char *e)
{
    return skipTrimSpace(p, e) == e;
}

inline const Char *skipDigits(const Char *p, const Char *e)
{
    while (p < e && isAsciiDigit(*p)) {
        ++p;
    }
    return p;
}

// "^\s*[nN][0-9]+\s*": returns the end of the match at `b`, or nullptr.
inline const Char *leadingNumberEnd(const Char *b, const Char *e)
{
    const Char *p = b;
    while (p < e && isPatternSpace(*p)) {
        ++p;
    }
    if (p == e || (*p != u'N' && *p != u'n')) {
        return nullptr;
    }
    const Char *digits = ++p;
    p = skipDigits(p, e);
    if (p == digits) {
        return nullptr;
    }
    while (p < e && isPatternSpace(*p)) {
        ++p;
    }
    return p;
}

// The first line break ("\n" or "\r") at or after `p`, or `e`.
const Char *findLineBreak(const Char *p, const Char *e);
// The first `a` or `b` at or after `p`, or `e`.
const Char *findEither(const Char *p, const Char *e, Char a, Char b);

// Whether the text holds at least one "\r\n".
bool containsCrLf(QStringView text);

// Parses an ASCII decimal number as written in a program ("12", "-1.", ".5",
// "+0.25"): correctly rounded, independent of the user's locale; a value too
// large for a double becomes an infinity, as strtod gives it.
double parseDecimal(const Char *b, const Char *e);

// printf's "%.{decimals}f" in the C locale, whatever LC_NUMERIC says; the
// decimal mark of a program is always ".". Writes into `buffer` and returns
// the length, or the length needed when it exceeds `size` - 1.
int formatFixed(double value, int decimals, char *buffer, int size);

// The output of a tool, written through a raw pointer into one QString that
// grows geometrically. Callers reserve room for a line before writing it.
class Writer {
public:
    explicit Writer(qsizetype expected)
    {
        m_text.resize(qMax<qsizetype>(expected, 16));
        m_data = reinterpret_cast<Char *>(m_text.data());
        m_capacity = m_text.size();
    }

    void reserve(qsizetype more)
    {
        if (m_pos + more > m_capacity) {
            grow(m_pos + more);
        }
    }
    // The unchecked writers assume reserve() made room.
    void put(Char c) { m_data[m_pos++] = c; }
    void put(const Char *b, const Char *e)
    {
        const qsizetype n = e - b;
        std::memcpy(m_data + m_pos, b, size_t(n) * sizeof(Char));
        m_pos += n;
    }
    void putInteger(qint64 value);

    // Raw access for tight loops: write through cursor(), then hand back the end.
    Char *cursor() { return m_data + m_pos; }
    void advanceTo(Char *end) { m_pos = end - m_data; }

    qsizetype pos() const { return m_pos; }
    void truncate(qsizetype pos) { m_pos = pos; }
    Char *data() { return m_data; }

    QString take()
    {
        m_text.resize(m_pos);
        return std::move(m_text);
    }

private:
    void grow(qsizetype needed);

    QString m_text;
    Char *m_data = nullptr;
    qsizetype m_pos = 0;
    qsizetype m_capacity = 0;
};

} // namespace NCScan
