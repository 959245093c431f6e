#include "nctools.h"

#include "ncscan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

using namespace NCScan;

namespace {

const Char *begin(const QString &text)
{
    return reinterpret_cast<const Char *>(text.utf16());
}

// Line framing shared by every line tool: "\r\n", "\n" and a lone "\r" all
// end a line; the output uses "\r\n" throughout when the input held any
// "\r\n", else "\n". Empty pieces are lines too, so an empty text is one
// empty line and a final line break survives the round trip. `perLine`
// writes its line into the writer (reserving room first) and returns false
// to drop it, separator included.
template <typename PerLine>
QString transformProgramLines(const QString &text, qsizetype expectedSize, PerLine perLine)
{
    const Char *p = begin(text);
    const Char *const end = p + text.size();
    const bool crlf = containsCrLf(text);
    Writer out(expectedSize);
    bool first = true;
    for (;;) {
        const Char *eol = findLineBreak(p, end);
        const qsizetype mark = out.pos();
        if (!first) {
            out.reserve(2);
            if (crlf) {
                out.put(u'\r');
            }
            out.put(u'\n');
        }
        if (perLine(p, eol, out)) {
            first = false;
        } else {
            out.truncate(mark);
        }
        if (eol == end) {
            break;
        }
        p = eol + ((*eol == u'\r' && eol + 1 < end && eol[1] == u'\n') ? 2 : 1);
    }
    return out.take();
}

// Blank lines, "%" lines, comment lines and O (program number) lines pass
// the numbering and spacing tools untouched, not even trimmed.
bool isProtectedLine(const Char *b, const Char *e)
{
    const Char *p = skipTrimSpace(b, e);
    return p == e || *p == u'%' || *p == u'(' || *p == u'O' || *p == u'o';
}

void copyLine(const Char *b, const Char *e, Writer &out)
{
    out.reserve(e - b);
    out.put(b, e);
}

void advanceCounter(qint64 &counter, qint64 increment)
{
    if (__builtin_add_overflow(counter, increment, &counter)) {
        qFatal("NCTools: the N counter overflowed 64 bits; callers must check numberingFits() first");
    }
}

// Room for "N", a 64-bit number with its sign and the space behind it.
constexpr qsizetype kNumberRoom = 22;

void putNumberedLine(Writer &out, qint64 counter, const Char *b, const Char *e)
{
    out.reserve(kNumberRoom + (e - b));
    out.put(u'N');
    out.putInteger(counter);
    out.put(u' ');
    out.put(b, e);
}

// Feeds characters into the writer while collapsing every run of two or more
// blanks (spaces or tabs) into one space; a single tab stays a tab. Because
// it sees the stream after removals, blanks that meet across a removed code
// collapse too.
class BlankCollapser {
public:
    explicit BlankCollapser(Writer &out) : m_out(out) {}

    void put(Char c)
    {
        if (isBlank(c)) {
            if (m_run == 0) {
                m_out.put(c);
            } else if (m_run == 1) {
                m_out.data()[m_out.pos() - 1] = u' ';
            }
            m_run = m_run < 2 ? m_run + 1 : 2;
            return;
        }
        m_out.put(c);
        m_run = 0;
    }

private:
    Writer &m_out;
    int m_run = 0;
};

// One line of the removal tools. `remover` feeds the line minus its matches
// into the collapser; then trailing blanks go (also in front of a final
// vertical tab, form feed or line separator, as "[ \t]+$" does), and a line
// that had text but is left with at most an N word is dropped.
template <typename Remover>
bool removalLine(const Char *b, const Char *e, Writer &out, Remover &remover)
{
    const bool hadText = !isAllTrimSpace(b, e);
    out.reserve(e - b); // removing never lengthens a line
    const qsizetype start = out.pos();
    BlankCollapser sink(out);
    remover(b, e, sink);

    Char *d = out.data();
    qsizetype stop = out.pos();
    if (stop > start && isDollarTerminator(d[stop - 1])) {
        const Char terminator = d[stop - 1];
        qsizetype q = stop - 1;
        while (q > start && isBlank(d[q - 1])) {
            --q;
        }
        d[q] = terminator;
        stop = q + 1;
    } else {
        while (stop > start && isBlank(d[stop - 1])) {
            --stop;
        }
    }
    out.truncate(stop);

    if (hadText) {
        const Char *lb = d + start;
        const Char *le = d + stop;
        const Char *rest = leadingNumberEnd(lb, le);
        if (isAllTrimSpace(rest ? rest : lb, le)) {
            return false;
        }
    }
    return true;
}

template <typename Remover>
QString removeLines(const QString &text, Remover remover)
{
    return transformProgramLines(text, text.size() + 64, [&](const Char *b, const Char *e, Writer &out) {
        return removalLine(b, e, out, remover);
    });
}

// "(?<![0-9])[Mm]0*8(?![0-9])": M8 with any leading zeros, not M80/M18/M88,
// and not an M glued to a digit in front of it ("X1M8" keeps its M8).
struct CoolantRemover {
    void operator()(const Char *b, const Char *e, BlankCollapser &sink) const
    {
        for (const Char *p = b; p < e;) {
            const Char c = *p;
            if ((c == u'M' || c == u'm') && (p == b || !isAsciiDigit(p[-1]))) {
                const Char *q = p + 1;
                while (q < e && *q == u'0') {
                    ++q;
                }
                if (q < e && *q == u'8' && (q + 1 == e || !isAsciiDigit(q[1]))) {
                    p = q + 1;
                    continue;
                }
            }
            sink.put(c);
            ++p;
        }
    }
};

// Reads a run of ASCII digits without leading zeros as a non-negative
// 64-bit magnitude (up to 2^63, so that -2^63 can be written); false when
// it is larger.
bool readMagnitude(const Char *b, const Char *e, quint64 *magnitude)
{
    if (e - b > 19) {
        return false;
    }
    quint64 value = 0;
    for (const Char *p = b; p < e; ++p) {
        value = value * 10 + quint64(*p - u'0');
    }
    if (value > (quint64(1) << 63)) {
        return false;
    }
    *magnitude = value;
    return true;
}

// "(?<![0-9])[Mm]0*(?:c1|c2|...)(?![0-9])" for a sorted list of codes. The
// digits after the zeros must spell a code exactly and end the digit run;
// a negative code is spelled "-" plus its digits. With code 0 in the list
// the zeros alone are a match when no further digit follows.
class MCodeRemover {
public:
    explicit MCodeRemover(std::vector<qint64> sortedCodes) : m_codes(std::move(sortedCodes)) {}

    void operator()(const Char *b, const Char *e, BlankCollapser &sink) const
    {
        for (const Char *p = b; p < e;) {
            const Char c = *p;
            if ((c == u'M' || c == u'm') && (p == b || !isAsciiDigit(p[-1]))) {
                if (const Char *matchEnd = matchAfterM(p + 1, e)) {
                    p = matchEnd;
                    continue;
                }
            }
            sink.put(c);
            ++p;
        }
    }

private:
    bool has(qint64 code) const { return std::binary_search(m_codes.begin(), m_codes.end(), code); }

    const Char *matchAfterM(const Char *afterM, const Char *e) const
    {
        const Char *rest = afterM;
        while (rest < e && *rest == u'0') {
            ++rest;
        }
        const bool hadZeros = rest > afterM;
        quint64 magnitude = 0;
        if (rest < e && isAsciiDigit(*rest)) {
            const Char *digitsEnd = skipDigits(rest, e);
            if (readMagnitude(rest, digitsEnd, &magnitude) && magnitude <= quint64(INT64_MAX) &&
                has(qint64(magnitude))) {
                return digitsEnd;
            }
            return nullptr; // "0" followed by a digit cannot end a match either
        }
        if (rest < e && *rest == u'-' && rest + 1 < e && isAsciiDigit(rest[1]) && rest[1] != u'0') {
            const Char *digitsEnd = skipDigits(rest + 1, e);
            if (readMagnitude(rest + 1, digitsEnd, &magnitude) && has(qint64(0 - magnitude))) {
                return digitsEnd;
            }
        }
        if (hadZeros && has(0)) {
            return rest;
        }
        return nullptr;
    }

    std::vector<qint64> m_codes;
};

// Any caller-supplied pattern: the slow path, one QRegularExpression
// replacement per line.
struct RegexRemover {
    const QRegularExpression &regex;

    void operator()(const Char *b, const Char *e, BlankCollapser &sink) const
    {
        QString line(reinterpret_cast<const QChar *>(b), e - b);
        line.replace(regex, QString());
        for (QChar c : std::as_const(line)) {
            sink.put(c.unicode());
        }
    }
};

// "([Ff])([0-9]*\.?[0-9]+)" and its S twin: the number needs a digit after a
// point, so "F450." yields "450" and leaves the point behind.
const Char *scaledNumberEnd(const Char *digits, const Char *e)
{
    const Char *intEnd = skipDigits(digits, e);
    if (intEnd < e && *intEnd == u'.') {
        const Char *fracEnd = skipDigits(intEnd + 1, e);
        if (fracEnd > intEnd + 1) {
            return fracEnd;
        }
    }
    return intEnd > digits ? intEnd : nullptr;
}

// Visits every letter-number match of the scaling patterns in order.
template <typename Visit>
void forEachScaledNumber(const QString &text, Char letter, Visit visit)
{
    const Char upper = isAsciiLetter(letter) ? Char(letter & ~Char(0x20)) : letter;
    const Char lower = isAsciiLetter(letter) ? Char(letter | 0x20) : letter;
    const Char *p = begin(text);
    const Char *const end = p + text.size();
    while (p < end) {
        if (*p != upper && *p != lower) {
            ++p;
            continue;
        }
        const Char *numberEnd = scaledNumberEnd(p + 1, end);
        if (!numberEnd) {
            ++p;
            continue;
        }
        visit(p, p + 1, numberEnd);
        p = numberEnd;
    }
}

bool roundsIntoInt64(double value, qint64 *result)
{
    const double rounded = std::round(value); // halves away from zero
    if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) {
        return false;
    }
    *result = qint64(rounded);
    return true;
}

// Writes `value` the way `original` was written, into `out` (room reserved here).
void putLikeOriginal(Writer &out, double value, const Char *ob, const Char *oe)
{
    const Char *point = std::find(ob, oe, u'.');
    if (point == oe) {
        qint64 integer = 0;
        if (!roundsIntoInt64(value, &integer)) {
            qFatal("NCTools: a scaled value does not round into 64 bits; callers must check scalingFits() first");
        }
        out.reserve(kNumberRoom);
        out.putInteger(integer);
        return;
    }
    const int decimals = int(std::clamp<qsizetype>(oe - point - 1, 1, 4));
    char buffer[400]; // "%.4f" of the largest double needs 315
    const int length = formatFixed(value, decimals, buffer, int(sizeof buffer));
    out.reserve(length);
    for (int i = 0; i < length; ++i) {
        out.put(Char(buffer[i]));
    }
}

QString scaleLetter(const QString &text, Char letter, double factor)
{
    const Char *const b = begin(text);
    const Char *const end = b + text.size();
    Writer out(text.size() + text.size() / 16 + 64);
    const Char *copied = b;
    forEachScaledNumber(text, letter, [&](const Char *, const Char *digits, const Char *numberEnd) {
        out.reserve(digits - copied);
        out.put(copied, digits); // up to and including the letter, as written
        putLikeOriginal(out, parseDecimal(digits, numberEnd) * factor, digits, numberEnd);
        copied = numberEnd;
    });
    out.reserve(end - copied);
    out.put(copied, end);
    return out.take();
}

} // namespace

namespace NCTools {

QString renumber(const QString &text, qint64 start, qint64 increment)
{
    qint64 counter = start;
    return transformProgramLines(text, text.size() + text.size() / 8 + 64,
                                 [&](const Char *b, const Char *e, Writer &out) {
                                     if (isProtectedLine(b, e)) {
                                         copyLine(b, e, out);
                                         return true;
                                     }
                                     const Char *rest = leadingNumberEnd(b, e);
                                     rest = skipTrimSpace(rest ? rest : b, e);
                                     // The space stays even when nothing follows: "N10" becomes "N100 ".
                                     putNumberedLine(out, counter, rest, trimSpaceBack(rest, e));
                                     advanceCounter(counter, increment);
                                     return true;
                                 });
}

QString addLineNumbers(const QString &text, qint64 start, qint64 increment)
{
    qint64 counter = start;
    return transformProgramLines(text, text.size() + text.size() / 8 + 64,
                                 [&](const Char *b, const Char *e, Writer &out) {
                                     // Existing numbers are kept and not looked at, so
                                     // duplicates can arise; the user asked only to fill gaps.
                                     if (isProtectedLine(b, e) || leadingNumberEnd(b, e)) {
                                         copyLine(b, e, out);
                                         return true;
                                     }
                                     const Char *first = skipTrimSpace(b, e);
                                     putNumberedLine(out, counter, first, trimSpaceBack(first, e));
                                     advanceCounter(counter, increment);
                                     return true;
                                 });
}

QString removeLineNumbers(const QString &text)
{
    return transformProgramLines(text, text.size() + 64, [](const Char *b, const Char *e, Writer &out) {
        const Char *rest = isProtectedLine(b, e) ? nullptr : leadingNumberEnd(b, e);
        copyLine(rest ? rest : b, e, out);
        return true;
    });
}

QString formatSpacing(const QString &text)
{
    return transformProgramLines(text, text.size() + 64, [](const Char *b, const Char *e, Writer &out) {
        if (isProtectedLine(b, e)) {
            copyLine(b, e, out);
            return true;
        }
        const Char *first = skipTrimSpace(b, e);
        const Char *last = trimSpaceBack(first, e);
        out.reserve(last - first);
        BlankCollapser sink(out);
        for (const Char *p = first; p < last; ++p) {
            sink.put(*p);
        }
        return true;
    });
}

QString removeMatching(const QString &text, const QRegularExpression &regex)
{
    return removeLines(text, RegexRemover{regex});
}

QString removeCoolant(const QString &text)
{
    return removeLines(text, CoolantRemover{});
}

QString removeMCodes(const QString &text, const QList<qint64> &codes)
{
    std::vector<qint64> sorted(codes.begin(), codes.end());
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.empty()) {
        return text;
    }
    return removeLines(text, MCodeRemover(std::move(sorted)));
}

QString scaleFeed(const QString &text, double factor)
{
    return scaleLetter(text, u'F', factor);
}

QString scaleSpindle(const QString &text, double factor)
{
    return scaleLetter(text, u'S', factor);
}

QString formatLikeOriginal(double value, const QString &original)
{
    Writer out(32);
    const Char *b = begin(original);
    putLikeOriginal(out, value, b, b + original.size());
    return out.take();
}

QList<AxisRange> axisRanges(const QString &text, const QList<QChar> &axes)
{
    std::array<bool, 26> wanted{};
    bool anyWanted = false;
    for (QChar axis : axes) {
        if (axis >= u'A' && axis <= u'Z') {
            wanted[axis.unicode() - u'A'] = true;
            anyWanted = true;
        }
    }
    if (!anyWanted) {
        return {};
    }

    // Comments out first, each replaced by one space: every "(...)" (an
    // unclosed one reaches the next ")" on any later line), then ";" up to
    // the end of its line in what is left. A ";" inside parentheses is
    // therefore no comment start, and a parenthesised comment inside a ";"
    // comment may carry it across a line break.
    const Char *p = begin(text);
    const Char *const end = p + text.size();
    std::unique_ptr<Char[]> cleaned(new Char[size_t(text.size()) + 1]);
    Char *w = cleaned.get();
    const Char *nextClose = nullptr;
    bool noMoreClose = false;
    auto closingAfter = [&](const Char *from) -> const Char * {
        if (noMoreClose) {
            return nullptr;
        }
        if (nextClose && nextClose >= from) {
            return nextClose;
        }
        const qsizetype at = QStringView(from, end).indexOf(u')');
        if (at < 0) {
            noMoreClose = true;
            return nullptr;
        }
        nextClose = from + at;
        return nextClose;
    };
    while (p < end) {
        const Char c = *p;
        if (c == u'(') {
            if (const Char *close = closingAfter(p + 1)) {
                *w++ = u' ';
                p = close + 1;
                continue;
            }
        } else if (c == u';') {
            *w++ = u' ';
            ++p;
            while (p < end && *p != u'\n') {
                if (*p == u'(') {
                    if (const Char *close = closingAfter(p + 1)) {
                        p = close + 1;
                        continue;
                    }
                }
                ++p;
            }
            continue;
        }
        *w++ = c;
        ++p;
    }
    const Char *const cb = cleaned.get();
    const Char *const ce = w;

    std::array<bool, 26> seen{};
    std::array<double, 26> minima{};
    std::array<double, 26> maxima{};
    // "([A-Za-z])\s*([+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+))"; the blanks may
    // include line breaks, so a letter at the end of a line takes the number
    // at the start of the next.
    for (const Char *q = cb; q < ce;) {
        if (!isAsciiLetter(*q)) {
            ++q;
            continue;
        }
        const int slot = (*q & ~Char(0x20)) - u'A';
        const Char *r = q + 1;
        while (r < ce && isPatternSpace(*r)) {
            ++r;
        }
        const Char *numberStart = r;
        if (r < ce && (*r == u'+' || *r == u'-')) {
            ++r;
        }
        const Char *numberEnd = skipDigits(r, ce);
        if (numberEnd > r) {
            if (numberEnd < ce && *numberEnd == u'.') {
                numberEnd = skipDigits(numberEnd + 1, ce);
            }
        } else if (r + 1 < ce && *r == u'.' && isAsciiDigit(r[1])) {
            numberEnd = skipDigits(r + 1, ce);
        } else {
            ++q;
            continue;
        }
        if (wanted[slot]) {
            const double value = parseDecimal(numberStart, numberEnd);
            if (!seen[slot]) {
                seen[slot] = true;
                minima[slot] = value;
                maxima[slot] = value;
            } else {
                // Ties keep the first minimum and take the last maximum; only
                // the sign of a zero can tell.
                minima[slot] = value < minima[slot] ? value : minima[slot];
                maxima[slot] = value >= maxima[slot] ? value : maxima[slot];
            }
        }
        q = numberEnd;
    }

    QList<AxisRange> ranges;
    for (QChar axis : axes) {
        if (axis >= u'A' && axis <= u'Z' && seen[axis.unicode() - u'A']) {
            const int slot = axis.unicode() - u'A';
            ranges.append(AxisRange{axis, minima[slot], maxima[slot]});
        }
    }
    return ranges;
}

QList<qint64> parseMCodeList(const QString &answer)
{
    // Every character that is not a digit separates codes. A run that holds
    // digits of another script, or is too large, is not a code and is dropped.
    QList<qint64> codes;
    QString piece;
    auto flush = [&] {
        if (piece.isEmpty()) {
            return;
        }
        qint64 value = 0;
        const QByteArray ascii = piece.toLatin1();
        const auto result = std::from_chars(ascii.constBegin(), ascii.constEnd(), value);
        const bool allAsciiDigits = std::all_of(piece.cbegin(), piece.cend(), [](QChar c) {
            return c >= u'0' && c <= u'9';
        });
        if (allAsciiDigits && result.ec == std::errc() && result.ptr == ascii.constEnd()) {
            codes.append(value);
        }
        piece.clear();
    };
    const QList<uint> codePoints = answer.toUcs4();
    for (const uint u : codePoints) {
        const char32_t c = u;
        if (QChar::isDigit(c)) {
            piece += QString::fromUcs4(&c, 1);
        } else {
            flush();
        }
    }
    flush();
    return codes;
}

bool numberingFits(const QString &text, qint64 start, qint64 increment)
{
    qint64 blocks = 0;
    const Char *p = begin(text);
    const Char *const end = p + text.size();
    for (;;) {
        const Char *eol = findLineBreak(p, end);
        if (!isProtectedLine(p, eol)) {
            ++blocks;
        }
        if (eol == end) {
            break;
        }
        p = eol + ((*eol == u'\r' && eol + 1 < end && eol[1] == u'\n') ? 2 : 1);
    }
    // The counter moves monotonically, so the value after the last block
    // bounds every one before it.
    const __int128 last = __int128(start) + __int128(blocks) * __int128(increment);
    return last >= __int128(INT64_MIN) && last <= __int128(INT64_MAX);
}

bool scalingFits(const QString &text, QChar letter, double factor)
{
    bool fits = true;
    forEachScaledNumber(text, letter.unicode(), [&](const Char *, const Char *digits, const Char *numberEnd) {
        qint64 ignored = 0;
        if (fits && std::find(digits, numberEnd, u'.') == numberEnd &&
            !roundsIntoInt64(parseDecimal(digits, numberEnd) * factor, &ignored)) {
            fits = false;
        }
    });
    return fits;
}

} // namespace NCTools
