#include "ncscan.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <locale.h>
#include <stdlib.h>
#include <string>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace NCScan {

const Char *findEither(const Char *p, const Char *e, Char a, Char b)
{
#if defined(__SSE2__)
    // Eight code units at a time: programs are mostly short lines of ASCII,
    // and finding line breaks is what every line tool spends time in.
    const __m128i va = _mm_set1_epi16(short(a));
    const __m128i vb = _mm_set1_epi16(short(b));
    while (e - p >= 8) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
        const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(v, va), _mm_cmpeq_epi16(v, vb)));
        if (mask != 0) {
            return p + (__builtin_ctz(unsigned(mask)) >> 1);
        }
        p += 8;
    }
#endif
    while (p < e && *p != a && *p != b) {
        ++p;
    }
    return p;
}

const Char *findLineBreak(const Char *p, const Char *e)
{
    return findEither(p, e, u'\n', u'\r');
}

bool containsCrLf(QStringView text)
{
    qsizetype from = 0;
    for (;;) {
        const qsizetype cr = text.indexOf(u'\r', from);
        if (cr < 0 || cr + 1 >= text.size()) {
            return false;
        }
        if (text[cr + 1] == u'\n') {
            return true;
        }
        from = cr + 1;
    }
}

namespace {

locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", locale_t(nullptr));
    return locale;
}

// Exact powers of ten: every one up to 1e22 is a double without rounding.
constexpr double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                   1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

} // namespace

double parseDecimal(const Char *b, const Char *e)
{
    bool negative = false;
    const Char *p = b;
    if (p < e && (*p == u'+' || *p == u'-')) {
        negative = *p == u'-';
        ++p;
    }
    // Fast path: at most 15 significant digits and 22 decimals. Both the
    // digits and the power of ten are exact doubles, so the single division
    // rounds correctly, just as a full conversion would.
    quint64 mantissa = 0;
    int significant = 0;
    int decimals = 0;
    bool afterPoint = false;
    bool fast = true;
    for (const Char *q = p; q < e; ++q) {
        if (*q == u'.') {
            afterPoint = true;
            continue;
        }
        if (mantissa != 0 || *q != u'0') {
            if (++significant > 15) {
                fast = false;
                break;
            }
        }
        mantissa = mantissa * 10 + (*q - u'0');
        if (afterPoint && ++decimals > 22) {
            fast = false;
            break;
        }
    }
    if (fast) {
        const double value = double(mantissa) / kPowersOfTen[decimals];
        return negative ? -value : value;
    }
    std::string ascii;
    ascii.reserve(size_t(e - b));
    for (const Char *q = b; q < e; ++q) {
        ascii.push_back(char(*q));
    }
    // strtod_l: correctly rounded, infinity on overflow, and blind to LC_NUMERIC.
    return strtod_l(ascii.c_str(), nullptr, cLocale());
}

int formatFixed(double value, int decimals, char *buffer, int size)
{
    const locale_t previous = uselocale(cLocale());
    const int length = std::snprintf(buffer, size_t(size), "%.*f", decimals, value);
    uselocale(previous);
    return length;
}

void Writer::putInteger(qint64 value)
{
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    for (const char *c = buffer; c < result.ptr; ++c) {
        m_data[m_pos++] = Char(*c);
    }
}

void Writer::grow(qsizetype needed)
{
    const qsizetype capacity = qMax(needed, m_capacity + m_capacity / 2 + 64);
    m_text.resize(capacity);
    m_data = reinterpret_cast<Char *>(m_text.data());
    m_capacity = capacity;
}

} // namespace NCScan
