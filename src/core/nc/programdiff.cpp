#include "programdiff.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Options = ProgramDiff::Options;
using Segment = ProgramDiff::Segment;
using Kind = ProgramDiff::Segment::Kind;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool usesNumbers(const Options &options)
{
    return options.numeric || options.tolerance > 0;
}

bool isPlain(const Options &options)
{
    return !usesNumbers(options) && !options.ignoreN && !options.ignoreComments;
}

// Where each block starts, plus one entry past the end; a block's text stops
// before its LF and a CR in front of it.
std::vector<qint64> blockStarts(QByteArrayView bytes)
{
    std::vector<qint64> starts;
    starts.reserve(static_cast<size_t>(bytes.size() / 32 + 2));
    const char *data = bytes.data();
    const qint64 size = bytes.size();
    qint64 pos = 0;
    while (pos < size) {
        starts.push_back(pos);
        const void *lf = std::memchr(data + pos, '\n', static_cast<size_t>(size - pos));
        pos = lf ? static_cast<const char *>(lf) - data + 1 : size;
    }
    starts.push_back(size);
    return starts;
}

QByteArrayView blockText(QByteArrayView bytes, const std::vector<qint64> &starts, qsizetype line)
{
    qint64 begin = starts[static_cast<size_t>(line)];
    qint64 end = starts[static_cast<size_t>(line) + 1];
    if (end > begin && bytes[end - 1] == '\n') {
        --end;
        if (end > begin && bytes[end - 1] == '\r') {
            --end;
        }
    }
    return bytes.sliced(begin, end - begin);
}

// A number starts at a digit, at "." before a digit, or at a sign before
// either when the sign cannot be a subtraction ("X-1" but not "#2-1").
qsizetype numberLength(const char *p, const char *e, char previous)
{
    const char *q = p;
    if ((*q == '+' || *q == '-') && !isDigit(previous) && previous != '.' && previous != ']' && previous != ')') {
        ++q;
    }
    const char *digits = q;
    while (q < e && isDigit(*q)) {
        ++q;
    }
    bool any = q > digits;
    if (q < e && *q == '.') {
        const char *frac = q + 1;
        while (frac < e && isDigit(*frac)) {
            ++frac;
        }
        if (any || frac > q + 1) {
            any = true;
            q = frac;
        }
    }
    return any ? q - p : 0;
}

// The shortest decimal of a number: no "+", no leading zeros before the point,
// no trailing zeros after it, no point without a fraction, no "-0".
void appendCanonical(const char *p, const char *e, std::string &out)
{
    bool negative = false;
    if (*p == '+' || *p == '-') {
        negative = *p == '-';
        ++p;
    }
    const char *intBegin = p;
    while (p < e && *p != '.') {
        ++p;
    }
    const char *intEnd = p;
    const char *fracBegin = p < e ? p + 1 : e;
    const char *fracEnd = e;
    while (intBegin < intEnd && *intBegin == '0') {
        ++intBegin;
    }
    while (fracEnd > fracBegin && fracEnd[-1] == '0') {
        --fracEnd;
    }
    if (intBegin == intEnd && fracBegin == fracEnd) {
        out.push_back('0');
        return;
    }
    if (negative) {
        out.push_back('-');
    }
    if (intBegin == intEnd) {
        out.push_back('0');
    } else {
        out.append(intBegin, intEnd);
    }
    if (fracBegin < fracEnd) {
        out.push_back('.');
        out.append(fracBegin, fracEnd);
    }
}

// The normal form of a block; with a tolerance the numbers go to `numbers`
// and leave a "#" behind, so blocks that differ only in values hash alike.
void normalise(QByteArrayView block, const Options &options, std::string &out, std::vector<double> *numbers)
{
    out.clear();
    if (numbers) {
        numbers->clear();
    }
    const char *p = block.data();
    const char *e = p + block.size();
    if (options.ignoreN) {
        const char *q = p;
        while (q < e && isBlank(*q)) {
            ++q;
        }
        if (q < e && *q == '/') {
            out.append(p, q + 1);
            p = ++q;
            while (q < e && isBlank(*q)) {
                ++q;
            }
        }
        if (q + 1 < e && (*q == 'N' || *q == 'n') && isDigit(q[1])) {
            q += 2;
            while (q < e && isDigit(*q)) {
                ++q;
            }
            while (q < e && isBlank(*q)) {
                ++q;
            }
            p = q;
        }
    }
    const bool numeric = usesNumbers(options);
    const bool withTolerance = options.tolerance > 0;
    char previous = ' ';
    while (p < e) {
        const char c = *p;
        if (c == '(' || c == ';') {
            const char *end = e;
            if (c == '(') {
                const void *close = std::memchr(p, ')', static_cast<size_t>(e - p));
                end = close ? static_cast<const char *>(close) + 1 : e;
            }
            if (!options.ignoreComments) {
                out.append(p, end);
            }
            p = end;
            previous = ')';
            continue;
        }
        if (options.ignoreComments && isBlank(c)) {
            ++p;
            continue;
        }
        if (numeric) {
            if (const qsizetype length = numberLength(p, e, previous)) {
                if (withTolerance) {
                    double value = 0;
                    const char *start = *p == '+' ? p + 1 : p;
                    // from_chars reads ".5" and "5." as decimals in general format.
                    std::from_chars(start, p + length, value, std::chars_format::general);
                    if (!std::isfinite(value) && numbers) {
                        value = 0;
                    }
                    if (numbers) {
                        numbers->push_back(value);
                    }
                    out.push_back('#');
                } else {
                    appendCanonical(p, p + length, out);
                }
                previous = p[length - 1];
                p += length;
                continue;
            }
        }
        out.push_back(c);
        previous = c;
        ++p;
    }
}

quint64 hashBytes(const char *p, qsizetype n)
{
    quint64 h = 0x9E3779B97F4A7C15ULL ^ static_cast<quint64>(n);
    while (n >= 8) {
        quint64 chunk;
        std::memcpy(&chunk, p, 8);
        h = (h ^ chunk) * 0xFF51AFD7ED558CCDULL;
        h ^= h >> 32;
        p += 8;
        n -= 8;
    }
    quint64 tail = 0;
    std::memcpy(&tail, p, static_cast<size_t>(n));
    h = (h ^ tail) * 0xC4CEB9FE1A85EC53ULL;
    return h ^ (h >> 29);
}

// One program as the comparison sees it: its blocks, their hashes and, when
// blank or comment-only blocks are ignored, which blocks take part.
struct Side {
    QByteArrayView bytes;
    std::vector<qint64> starts;
    std::vector<quint64> hashes;     // per compared block
    std::vector<qsizetype> compared; // compared block -> line; only when blocks may be ignored
    std::vector<bool> changed;       // per compared block

    qsizetype lines() const { return static_cast<qsizetype>(starts.size()) - 1; }
    qsizetype size() const { return static_cast<qsizetype>(hashes.size()); }
    bool skips = false;
    qsizetype lineOf(qsizetype i) const { return skips ? compared[static_cast<size_t>(i)] : i; }
    QByteArrayView text(qsizetype i) const { return blockText(bytes, starts, lineOf(i)); }
};

Side prepare(QByteArrayView bytes, const Options &options)
{
    Side side;
    side.bytes = bytes;
    side.starts = blockStarts(bytes);
    const qsizetype lines = side.lines();
    side.hashes.reserve(static_cast<size_t>(lines));
    side.skips = options.ignoreComments;
    if (isPlain(options)) {
        for (qsizetype line = 0; line < lines; ++line) {
            const QByteArrayView text = blockText(bytes, side.starts, line);
            side.hashes.push_back(hashBytes(text.data(), text.size()));
        }
    } else {
        std::string form;
        for (qsizetype line = 0; line < lines; ++line) {
            normalise(blockText(bytes, side.starts, line), options, form, nullptr);
            if (options.ignoreComments) {
                if (form.empty()) {
                    continue;
                }
                side.compared.push_back(line);
            }
            side.hashes.push_back(hashBytes(form.data(), static_cast<qsizetype>(form.size())));
        }
    }
    side.changed.assign(side.hashes.size(), false);
    return side;
}

class Comparer {
public:
    Comparer(Side &a, Side &b, const Options &options) : m_a(a), m_b(b), m_options(options) {}

    void run()
    {
        const qsizetype diagonals = m_a.size() + m_b.size() + 3;
        // Uninitialised on purpose: only the diagonals the search reaches are
        // touched, so the memory in use follows the differences, not the size.
        m_forward.reset(new qsizetype[static_cast<size_t>(diagonals)]);
        m_backward.reset(new qsizetype[static_cast<size_t>(diagonals)]);
        m_offset = m_b.size() + 1;
        m_costLimit = 4096;
        for (qsizetype total = m_a.size() + m_b.size(); total > 0; total >>= 2) {
            m_costLimit <<= 1;
            if (m_costLimit > (1 << 16)) {
                break;
            }
        }
        compareRange(0, m_a.size(), 0, m_b.size());
    }

private:
    bool equal(qsizetype x, qsizetype y)
    {
        if (m_a.hashes[static_cast<size_t>(x)] != m_b.hashes[static_cast<size_t>(y)]) {
            return false;
        }
        const QByteArrayView ta = m_a.text(x);
        const QByteArrayView tb = m_b.text(y);
        if (ta == tb) {
            return true;
        }
        if (isPlain(m_options)) {
            return false;
        }
        const bool withTolerance = m_options.tolerance > 0;
        normalise(ta, m_options, m_formA, withTolerance ? &m_numbersA : nullptr);
        normalise(tb, m_options, m_formB, withTolerance ? &m_numbersB : nullptr);
        if (m_formA != m_formB) {
            return false;
        }
        if (!withTolerance) {
            return true;
        }
        // A little slack for the binary fractions: 1.1 - 1.0 must pass a tolerance of 0.1.
        const double limit = m_options.tolerance * (1 + 1e-9) + 1e-12;
        for (size_t i = 0; i < m_numbersA.size(); ++i) {
            if (std::fabs(m_numbersA[i] - m_numbersB[i]) > limit) {
                return false;
            }
        }
        return true;
    }

    void markChanged(Side &side, qsizetype from, qsizetype to)
    {
        for (qsizetype i = from; i < to; ++i) {
            side.changed[static_cast<size_t>(i)] = true;
        }
    }

    void compareRange(qsizetype xlo, qsizetype xhi, qsizetype ylo, qsizetype yhi)
    {
        while (xlo < xhi && ylo < yhi && equal(xlo, ylo)) {
            ++xlo;
            ++ylo;
        }
        while (xhi > xlo && yhi > ylo && equal(xhi - 1, yhi - 1)) {
            --xhi;
            --yhi;
        }
        if (xlo == xhi) {
            markChanged(m_b, ylo, yhi);
        } else if (ylo == yhi) {
            markChanged(m_a, xlo, xhi);
        } else {
            qsizetype xmid = 0;
            qsizetype ymid = 0;
            split(xlo, xhi, ylo, yhi, &xmid, &ymid);
            if ((xmid == xlo && ymid == ylo) || (xmid == xhi && ymid == yhi)) {
                // No progress possible (cannot happen after the trims); give up on this stretch.
                markChanged(m_a, xlo, xhi);
                markChanged(m_b, ylo, yhi);
                return;
            }
            compareRange(xlo, xmid, ylo, ymid);
            compareRange(xmid, xhi, ymid, yhi);
        }
    }

    qsizetype &fd(qsizetype k) { return m_forward[static_cast<size_t>(k + m_offset)]; }
    qsizetype &bd(qsizetype k) { return m_backward[static_cast<size_t>(k + m_offset)]; }

    // The middle of a shortest edit path through the box, searched from both
    // corners at once along the diagonals k = x - y until the two fronts meet.
    // Past the cost limit the furthest point either front reached is taken
    // instead: the result is still a correct edit script, only perhaps not the
    // shortest, and two unrelated programs do not take quadratic time.
    void split(qsizetype xlo, qsizetype xhi, qsizetype ylo, qsizetype yhi, qsizetype *xmid, qsizetype *ymid)
    {
        const qsizetype dmin = xlo - yhi;
        const qsizetype dmax = xhi - ylo;
        const qsizetype fmid = xlo - ylo;
        const qsizetype bmid = xhi - yhi;
        qsizetype fmin = fmid, fmax = fmid, bmin = bmid, bmax = bmid;
        const bool odd = ((fmid - bmid) & 1) != 0;
        fd(fmid) = xlo;
        bd(bmid) = xhi;
        constexpr qsizetype low = std::numeric_limits<qsizetype>::min() / 2;
        constexpr qsizetype high = std::numeric_limits<qsizetype>::max() / 2;
        for (qsizetype cost = 1;; ++cost) {
            if (fmin > dmin) {
                fd(--fmin - 1) = low;
            } else {
                ++fmin;
            }
            if (fmax < dmax) {
                fd(++fmax + 1) = low;
            } else {
                --fmax;
            }
            for (qsizetype k = fmax; k >= fmin; k -= 2) {
                const qsizetype lo = fd(k - 1);
                const qsizetype hi = fd(k + 1);
                qsizetype x = lo >= hi ? lo + 1 : hi;
                qsizetype y = x - k;
                while (x < xhi && y < yhi && equal(x, y)) {
                    ++x;
                    ++y;
                }
                fd(k) = x;
                if (odd && bmin <= k && k <= bmax && bd(k) <= x) {
                    *xmid = x;
                    *ymid = y;
                    return;
                }
            }
            if (bmin > dmin) {
                bd(--bmin - 1) = high;
            } else {
                ++bmin;
            }
            if (bmax < dmax) {
                bd(++bmax + 1) = high;
            } else {
                --bmax;
            }
            for (qsizetype k = bmax; k >= bmin; k -= 2) {
                const qsizetype lo = bd(k - 1);
                const qsizetype hi = bd(k + 1);
                qsizetype x = lo < hi ? lo : hi - 1;
                qsizetype y = x - k;
                while (x > xlo && y > ylo && equal(x - 1, y - 1)) {
                    --x;
                    --y;
                }
                bd(k) = x;
                if (!odd && fmin <= k && k <= fmax && x <= fd(k)) {
                    *xmid = x;
                    *ymid = y;
                    return;
                }
            }
            if (cost >= m_costLimit) {
                giveUpSplit(xlo, xhi, ylo, yhi, fmin, fmax, bmin, bmax, xmid, ymid);
                return;
            }
        }
    }

    void giveUpSplit(qsizetype xlo, qsizetype xhi, qsizetype ylo, qsizetype yhi, qsizetype fmin, qsizetype fmax,
                     qsizetype bmin, qsizetype bmax, qsizetype *xmid, qsizetype *ymid)
    {
        qsizetype forwardBest = -1;
        for (qsizetype k = fmax; k >= fmin; k -= 2) {
            const qsizetype x = std::min(fd(k), xhi);
            const qsizetype y = x - k;
            if (y <= yhi && y >= ylo && x + y > forwardBest) {
                forwardBest = x + y;
                *xmid = x;
                *ymid = y;
            }
        }
        qsizetype backwardBest = std::numeric_limits<qsizetype>::max(), bx = xhi, by = yhi;
        for (qsizetype k = bmax; k >= bmin; k -= 2) {
            const qsizetype x = std::max(bd(k), xlo);
            const qsizetype y = x - k;
            if (y >= ylo && y <= yhi && x + y < backwardBest) {
                backwardBest = x + y;
                bx = x;
                by = y;
            }
        }
        if (forwardBest < 0 || (xhi + yhi) - backwardBest > forwardBest - (xlo + ylo)) {
            *xmid = bx;
            *ymid = by;
        }
    }

    Side &m_a;
    Side &m_b;
    const Options &m_options;
    std::unique_ptr<qsizetype[]> m_forward;
    std::unique_ptr<qsizetype[]> m_backward;
    qsizetype m_offset = 0;
    qsizetype m_costLimit = 0;
    std::string m_formA, m_formB;
    std::vector<double> m_numbersA, m_numbersB;
};

// Turns the marks on compared blocks into segments over every line. Between
// two matched blocks lie changed blocks and ignored ones; lines at either end
// of such a gap that are identical in both programs are shown as equal, what
// remains is a difference when a compared block changed, ignored otherwise.
class SegmentBuilder {
public:
    SegmentBuilder(const Side &a, const Side &b) : m_a(a), m_b(b) {}

    QList<Segment> build()
    {
        qsizetype i = 0, j = 0;
        while (i < m_a.size() || j < m_b.size()) {
            bool changes = false;
            while (i < m_a.size() && m_a.changed[static_cast<size_t>(i)]) {
                ++i;
                changes = true;
            }
            while (j < m_b.size() && m_b.changed[static_cast<size_t>(j)]) {
                ++j;
                changes = true;
            }
            if (i < m_a.size() && j < m_b.size()) {
                const qsizetype la = m_a.lineOf(i), lb = m_b.lineOf(j);
                gap(la, lb, changes);
                add(Kind::same, la, 1, lb, 1);
                m_nextA = la + 1;
                m_nextB = lb + 1;
                ++i;
                ++j;
            } else {
                gap(m_a.lines(), m_b.lines(), changes);
                break;
            }
        }
        gap(m_a.lines(), m_b.lines(), false);
        return m_segments;
    }

private:
    bool identical(qsizetype la, qsizetype lb) const
    {
        return blockText(m_a.bytes, m_a.starts, la) == blockText(m_b.bytes, m_b.starts, lb);
    }

    void gap(qsizetype endA, qsizetype endB, bool changes)
    {
        qsizetype a0 = m_nextA, b0 = m_nextB, a1 = endA, b1 = endB;
        while (a0 < a1 && b0 < b1 && identical(a0, b0)) {
            add(Kind::same, a0++, 1, b0++, 1);
        }
        qsizetype suffix = 0;
        while (a1 - suffix > a0 && b1 - suffix > b0 && identical(a1 - suffix - 1, b1 - suffix - 1)) {
            ++suffix;
        }
        if (a1 - suffix > a0 || b1 - suffix > b0) {
            add(changes ? Kind::changed : Kind::ignored, a0, a1 - suffix - a0, b0, b1 - suffix - b0);
        }
        if (suffix > 0) {
            add(Kind::same, a1 - suffix, suffix, b1 - suffix, suffix);
        }
        m_nextA = endA;
        m_nextB = endB;
    }

    void add(Kind kind, qsizetype a, qsizetype aCount, qsizetype b, qsizetype bCount)
    {
        if (!m_segments.isEmpty()) {
            Segment &last = m_segments.last();
            if (last.kind == kind && last.a + last.aCount == a && last.b + last.bCount == b) {
                last.aCount += aCount;
                last.bCount += bCount;
                return;
            }
        }
        m_segments.append(Segment{kind, a, aCount, b, bCount});
    }

    const Side &m_a;
    const Side &m_b;
    QList<Segment> m_segments;
    qsizetype m_nextA = 0;
    qsizetype m_nextB = 0;
};

void appendRange(QByteArray &out, qsizetype start, qsizetype count)
{
    // diff -u's convention: an empty range names the line before it.
    if (count == 0) {
        out += QByteArray::number(start) + ",0";
    } else if (count == 1) {
        out += QByteArray::number(start + 1);
    } else {
        out += QByteArray::number(start + 1) + ',' + QByteArray::number(count);
    }
}

} // namespace

bool ProgramDiff::Result::equal() const
{
    return std::none_of(segments.begin(), segments.end(),
                        [](const Segment &s) { return s.kind == Kind::changed; });
}

QList<ProgramDiff::Segment> ProgramDiff::Result::hunks() const
{
    QList<Segment> out;
    for (const Segment &s : segments) {
        if (s.kind == Kind::changed) {
            out.append(s);
        }
    }
    return out;
}

qsizetype ProgramDiff::Result::facingLine(qsizetype line, bool fromA) const
{
    const auto startOf = [fromA](const Segment &s) { return fromA ? s.a : s.b; };
    auto it = std::upper_bound(segments.begin(), segments.end(), line,
                               [&](qsizetype value, const Segment &s) { return value < startOf(s); });
    if (it == segments.begin()) {
        return 0;
    }
    const Segment &s = *(it - 1);
    const qsizetype offset = line - startOf(s);
    const qsizetype count = fromA ? s.bCount : s.aCount;
    const qsizetype start = fromA ? s.b : s.a;
    if (s.kind == Kind::same) {
        return start + offset;
    }
    return start + std::min(offset, std::max<qsizetype>(count - 1, 0));
}

ProgramDiff::Result ProgramDiff::compare(QByteArrayView a, QByteArrayView b, const Options &options)
{
    // Splitting and hashing is most of the work on programs that differ
    // little; the two programs take a core each.
    Side sideB;
    std::thread second([&] { sideB = prepare(b, options); });
    Side sideA = prepare(a, options);
    second.join();
    Comparer(sideA, sideB, options).run();
    Result result;
    result.linesA = sideA.lines();
    result.linesB = sideB.lines();
    result.segments = SegmentBuilder(sideA, sideB).build();
    return result;
}

QByteArray ProgramDiff::normalForm(QByteArrayView block, const Options &options)
{
    std::string out;
    normalise(block, options, out, nullptr);
    return QByteArray(out.data(), static_cast<qsizetype>(out.size()));
}

QByteArray ProgramDiff::unified(QByteArrayView a, QByteArrayView b, const Result &result, const QString &nameA,
                                const QString &nameB, int context)
{
    if (result.equal()) {
        return {};
    }
    const std::vector<qint64> startsA = blockStarts(a);
    const std::vector<qint64> startsB = blockStarts(b);
    QByteArray out = "--- " + nameA.toUtf8() + "\n+++ " + nameB.toUtf8() + '\n';
    const auto lines = [&out](char mark, QByteArrayView bytes, const std::vector<qint64> &starts, qsizetype from,
                              qsizetype count) {
        for (qsizetype line = from; line < from + count; ++line) {
            out += mark;
            out += blockText(bytes, starts, line);
            out += '\n';
        }
    };
    const QList<Segment> &segs = result.segments;
    const qsizetype n = segs.size();
    const auto isSame = [&](qsizetype i) { return i >= 0 && i < n && segs[i].kind == Kind::same; };
    for (qsizetype i = 0; i < n; ++i) {
        if (segs[i].kind != Kind::changed) {
            continue;
        }
        qsizetype last = i;
        while (isSame(last + 1) && segs[last + 1].aCount <= 2 * context && last + 2 < n &&
               segs[last + 2].kind == Kind::changed) {
            last += 2;
        }
        const qsizetype lead = isSame(i - 1) ? std::min<qsizetype>(context, segs[i - 1].aCount) : 0;
        const qsizetype trail = isSame(last + 1) ? std::min<qsizetype>(context, segs[last + 1].aCount) : 0;
        const qsizetype startA = segs[i].a - lead;
        const qsizetype startB = segs[i].b - lead;
        const qsizetype endA = segs[last].a + segs[last].aCount + trail;
        const qsizetype endB = segs[last].b + segs[last].bCount + trail;
        out += "@@ -";
        appendRange(out, startA, endA - startA);
        out += " +";
        appendRange(out, startB, endB - startB);
        out += " @@\n";
        lines(' ', a, startsA, startA, lead);
        for (qsizetype s = i; s <= last; ++s) {
            if (segs[s].kind == Kind::changed) {
                lines('-', a, startsA, segs[s].a, segs[s].aCount);
                lines('+', b, startsB, segs[s].b, segs[s].bCount);
            } else {
                lines(' ', a, startsA, segs[s].a, segs[s].aCount);
            }
        }
        lines(' ', a, startsA, segs[last].a + segs[last].aCount, trail);
        i = last;
    }
    return out;
}
