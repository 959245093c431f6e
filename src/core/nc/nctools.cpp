#include "nctools.h"

#include "ncscan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
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

// Matches nothing: plain copying with blank collapsing.
struct NoMatch {
    static bool mayStart(Char) { return false; }
    const Char *matchEnd(const Char *, const Char *, const Char *) const { return nullptr; }
};

// Copies [b, e) to `w`, skipping the matcher's matches and collapsing every
// run of two or more blanks (spaces or tabs) into one space, as
// "[ \t]{2,}" -> " " does; a single tab stays a tab. Runs are collapsed in
// the stream after removal, so blanks that meet across a removed code merge.
// Returns the end of what was written (never more than e - b).
template <typename Matcher>
Char *copyRemovingAndCollapsing(const Char *b, const Char *e, Char *w, const Matcher &matcher)
{
    int run = 0; // blanks just written: 0, 1, or 2 for "collapsed already"
    for (const Char *p = b; p < e;) {
        const Char c = *p;
        if (Matcher::mayStart(c)) {
            if (const Char *end = matcher.matchEnd(b, p, e)) {
                p = end;
                continue;
            }
        }
        ++p;
        if (c == u' ' || c == u'\t') {
            if (run == 0) {
                *w++ = c;
                run = 1;
            } else if (run == 1) {
                w[-1] = u' ';
                run = 2;
            }
            continue;
        }
        *w++ = c;
        run = 0;
    }
    return w;
}

// One line of the removal tools. `produce` writes the line minus its matches,
// blanks collapsed, and returns its end; then trailing blanks go (also in
// front of a final vertical tab, form feed or line separator, as "[ \t]+$"
// does), and a line that had text but is left with at most an N word is
// dropped.
template <typename Produce>
bool removalLine(const Char *b, const Char *e, Writer &out, const Produce &produce)
{
    const bool hadText = !isAllTrimSpace(b, e);
    out.reserve(e - b); // removing never lengthens a line
    Char *const start = out.cursor();
    Char *stop = produce(b, e, start);
    if (stop > start && isDollarTerminator(stop[-1])) {
        const Char terminator = stop[-1];
        Char *q = stop - 1;
        while (q > start && isBlank(q[-1])) {
            --q;
        }
        *q = terminator;
        stop = q + 1;
    } else {
        while (stop > start && isBlank(stop[-1])) {
            --stop;
        }
    }
    out.advanceTo(stop);

    if (hadText) {
        const Char *rest = leadingNumberEnd(start, stop);
        if (isAllTrimSpace(rest ? rest : start, stop)) {
            return false;
        }
    }
    return true;
}

template <typename Matcher>
QString removeLines(const QString &text, const Matcher &matcher)
{
    return transformProgramLines(text, text.size() + 64, [&](const Char *b, const Char *e, Writer &out) {
        return removalLine(b, e, out, [&](const Char *lb, const Char *le, Char *w) {
            return copyRemovingAndCollapsing(lb, le, w, matcher);
        });
    });
}

// "(?<![0-9])[Mm]0*8(?![0-9])": M8 with any leading zeros, not M80/M18/M88,
// and not an M glued to a digit in front of it ("X1M8" keeps its M8). The
// look-behind reads the original line, so in "M8M8" only the first goes.
struct CoolantMatcher {
    static bool mayStart(Char c) { return c == u'M' || c == u'm'; }

    const Char *matchEnd(const Char *lineBegin, const Char *m, const Char *e) const
    {
        if (m > lineBegin && isAsciiDigit(m[-1])) {
            return nullptr;
        }
        const Char *q = m + 1;
        while (q < e && *q == u'0') {
            ++q;
        }
        if (q < e && *q == u'8' && (q + 1 == e || !isAsciiDigit(q[1]))) {
            return q + 1;
        }
        return nullptr;
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
class MCodeMatcher {
public:
    explicit MCodeMatcher(std::vector<qint64> sortedCodes) : m_codes(std::move(sortedCodes)) {}

    static bool mayStart(Char c) { return c == u'M' || c == u'm'; }

    const Char *matchEnd(const Char *lineBegin, const Char *m, const Char *e) const
    {
        if (m > lineBegin && isAsciiDigit(m[-1])) {
            return nullptr;
        }
        const Char *afterM = m + 1;
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
        if (rest + 1 < e && *rest == u'-' && isAsciiDigit(rest[1]) && rest[1] != u'0') {
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

private:
    bool has(qint64 code) const { return std::binary_search(m_codes.begin(), m_codes.end(), code); }

    std::vector<qint64> m_codes;
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
        out.advanceTo(copyRemovingAndCollapsing(first, last, out.cursor(), NoMatch{}));
        return true;
    });
}

QString removeMatching(const QString &text, const QRegularExpression &regex)
{
    // Any caller-supplied pattern: the slow path, one regex replacement per line.
    return transformProgramLines(text, text.size() + 64, [&](const Char *b, const Char *e, Writer &out) {
        return removalLine(b, e, out, [&](const Char *lb, const Char *le, Char *w) {
            QString line(reinterpret_cast<const QChar *>(lb), le - lb);
            line.replace(regex, QString());
            const Char *rb = begin(line);
            return copyRemovingAndCollapsing(rb, rb + line.size(), w, NoMatch{});
        });
    });
}

QString removeCoolant(const QString &text)
{
    return removeLines(text, CoolantMatcher{});
}

QString removeMCodes(const QString &text, const QList<qint64> &codes)
{
    std::vector<qint64> sorted(codes.begin(), codes.end());
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.empty()) {
        return text;
    }
    return removeLines(text, MCodeMatcher(std::move(sorted)));
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
        const Char *next = findEither(p, end, u'(', u';');
        std::memcpy(w, p, size_t(next - p) * sizeof(Char));
        w += next - p;
        p = next;
        if (p == end) {
            break;
        }
        if (*p == u'(') {
            const Char *close = closingAfter(p + 1);
            *w++ = close ? u' ' : u'(';
            p = close ? close + 1 : p + 1;
            continue;
        }
        *w++ = u' ';
        ++p;
        for (;;) {
            p = findEither(p, end, u'\n', u'(');
            if (p == end || *p == u'\n') {
                break;
            }
            const Char *close = closingAfter(p + 1);
            p = close ? close + 1 : p + 1;
        }
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
        if (!fits) {
            return;
        }
        const double scaled = parseDecimal(digits, numberEnd) * factor;
        qint64 ignored = 0;
        if (std::find(digits, numberEnd, u'.') == numberEnd) {
            fits = roundsIntoInt64(scaled, &ignored);
        } else {
            // Past a double's range the C library writes "inf" (or "nan"), which
            // no control reads as a number; refuse rather than write it.
            fits = std::isfinite(scaled);
        }
    });
    return fits;
}

} // namespace NCTools
