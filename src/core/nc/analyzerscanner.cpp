#include "analyzerscanner.h"

#include <charconv>
#include <string>

namespace AnalyzerScan {

QStringView trimmed(QStringView line)
{
    qsizetype begin = 0;
    qsizetype end = line.size();
    while (begin < end && isBlank(line[begin].unicode())) {
        ++begin;
    }
    while (end > begin && isBlank(line[end - 1].unicode())) {
        --end;
    }
    return line.sliced(begin, end - begin);
}

std::optional<QString> firstComment(QStringView line)
{
    const qsizetype open = line.indexOf(u'(');
    if (open >= 0) {
        const qsizetype close = line.indexOf(u')', open + 1);
        if (close >= 0) {
            return trimmed(line.sliced(open + 1, close - open - 1)).toString();
        }
    }
    const qsizetype semi = line.indexOf(u';');
    if (semi >= 0) {
        return trimmed(line.sliced(semi + 1)).toString();
    }
    return std::nullopt;
}

std::optional<QString> programNumber(QStringView line)
{
    const QStringView text = trimmed(line);
    if (text.isEmpty() || (text[0] != u'O' && text[0] != u'o')) {
        return std::nullopt;
    }
    // Any decimal digit counts here, as a program number is shown, not computed.
    qsizetype end = 1;
    while (end < text.size()) {
        char32_t cp = text[end].unicode();
        qsizetype width = 1;
        if (QChar::isHighSurrogate(cp) && end + 1 < text.size() && text[end + 1].isLowSurrogate()) {
            cp = QChar::surrogateToUcs4(text[end], text[end + 1]);
            width = 2;
        }
        if (!QChar::isDigit(cp)) {
            break;
        }
        end += width;
    }
    if (end == 1) {
        return std::nullopt;
    }
    return QLatin1Char('O') + text.sliced(1, end - 1).toString();
}

namespace {

bool parseSlow(QStringView value, double *out)
{
    // Only ASCII signs, digits and a dot reach here, so narrowing is lossless.
    char small[64];
    std::string large;
    char *buffer = small;
    if (value.size() > qsizetype(sizeof small)) {
        large.resize(value.size());
        buffer = large.data();
    }
    qsizetype n = 0;
    for (QChar c : value) {
        if (c != u'+') { // from_chars takes no plus sign
            buffer[n++] = char(c.unicode());
        }
    }
    double parsed = 0;
    const auto result = std::from_chars(buffer, buffer + n, parsed);
    if (result.ec != std::errc() || result.ptr != buffer + n) {
        return false;
    }
    *out = parsed;
    return true;
}

} // namespace

bool parseValue(QStringView value, double *out)
{
    // Exact fast path: a mantissa below 2^53 divided by a power of ten up to
    // 10^22 is one correctly rounded division, the same double as a full parse.
    qsizetype i = 0;
    const qsizetype size = value.size();
    bool negative = false;
    if (i < size && (value[i] == u'+' || value[i] == u'-')) {
        negative = value[i] == u'-';
        ++i;
    }
    quint64 mantissa = 0;
    int significant = 0;
    int fraction = 0;
    bool afterDot = false;
    bool sawDigit = false;
    for (; i < size; ++i) {
        const char16_t c = value[i].unicode();
        if (c == u'.') {
            if (afterDot) {
                return false;
            }
            afterDot = true;
            continue;
        }
        if (!isAsciiDigit(c)) {
            return false;
        }
        sawDigit = true;
        if (mantissa != 0 || c != u'0') {
            if (++significant > 16) {
                return parseSlow(value, out);
            }
        }
        mantissa = mantissa * 10 + (c - u'0');
        if (afterDot) {
            ++fraction;
        }
    }
    if (!sawDigit || mantissa > (quint64(1) << 53) || fraction > 22) {
        return parseSlow(value, out);
    }
    const double magnitude = double(mantissa) / detail::kPowersOfTen[fraction];
    *out = negative ? -magnitude : magnitude;
    return true;
}

QList<Token> tokens(QStringView line)
{
    QList<Token> found;
    const auto *begin = reinterpret_cast<const char16_t *>(line.utf16());
    scanLine(begin, begin + line.size(), [&](const Word &word) { found.append({word.letter, word.value}); });
    return found;
}

} // namespace AnalyzerScan
