#include "gcodehighlighter.h"

#include "gcodereference.h"

#include <QRegularExpression>

#include <vector>

namespace {

using ColorClass = GCodeHighlighter::ColorClass;

// The patterns are kept in the form the highlighter has always used; where they
// say `\s`, `.` and `$` they mean the Unicode white space and line ends, which
// PCRE spells out with an explicit class and (*ANY).
QRegularExpression compiled(const QString &pattern, QRegularExpression::PatternOptions options = {})
{
    QRegularExpression re(pattern, options);
    if (!re.isValid()) {
        qFatal("highlighter pattern does not compile: %s", qPrintable(re.errorString()));
    }
    re.optimize();
    return re;
}

const QRegularExpression &wordsPattern()
{
    static const QRegularExpression re =
        compiled(QStringLiteral("[A-Za-z][+-]?(?:[0-9]+(?:\\.[0-9]*)?|\\.[0-9]+)?"));
    return re;
}

const QRegularExpression &commentsPattern()
{
    static const QRegularExpression re = compiled(QStringLiteral("\\([^)\\n]*\\)?|;[^\\n]*"));
    return re;
}

const QRegularExpression &markersPattern()
{
    static const QRegularExpression re = compiled(QStringLiteral("(*ANY)^[\\t-\\r\\x{85}\\p{Z}]*%.*$"),
                                                   QRegularExpression::MultilineOption);
    return re;
}

// Per character: the colour class in the low bits, then the font variant.
constexpr quint8 kClassMask = 0x0F;
constexpr quint8 kBold = 0x10;
constexpr quint8 kItalic = 0x20;

quint8 attribute(ColorClass color, quint8 font)
{
    return quint8(color) | font;
}

} // namespace

GCodeHighlighter::ColorPair GCodeHighlighter::colorValues(ColorClass color)
{
    switch (color) {
    case ColorClass::plain:
        return {0x1C1C1E, 0xE8E8EA};
    case ColorClass::gCode:
        return {0x0B5FD0, 0x6FB2FF};
    case ColorClass::mCode:
        return {0xC2185B, 0xFF7FB0};
    case ColorClass::axis:
        return {0x1B7F3B, 0x6FDC8C};
    case ColorClass::arc:
        return {0x00796B, 0x4DD0C4};
    case ColorClass::feed:
        return {0xC25E00, 0xFFAE57};
    case ColorClass::spindle:
        return {0x6A3AB2, 0xC4A2FF};
    case ColorClass::tool:
        return {0x8A6100, 0xE8C15C};
    case ColorClass::lineNo:
        // Darker on dark than on light on purpose: N numbers should recede.
        return {0x9A9AA0, 0x76767C};
    case ColorClass::progNo:
        return {0x1C1C1E, 0xFFFFFF};
    case ColorClass::comment:
        return {0x6E7B72, 0x8FA396};
    case ColorClass::marker:
        return {0xD32F2F, 0xFF6B6B};
    }
    return {0x1C1C1E, 0xE8E8EA};
}

GCodeHighlighter::ColorClass GCodeHighlighter::colorFor(QChar letter)
{
    switch (letter.toUpper().unicode()) {
    case u'G':
        return ColorClass::gCode;
    case u'M':
        return ColorClass::mCode;
    case u'X':
    case u'Y':
    case u'Z':
    case u'A':
    case u'B':
    case u'C':
    case u'U':
    case u'V':
    case u'W':
        return ColorClass::axis;
    case u'I':
    case u'J':
    case u'K':
    case u'R':
    case u'Q':
        return ColorClass::arc;
    case u'F':
    case u'E':
        return ColorClass::feed;
    case u'S':
        return ColorClass::spindle;
    case u'T':
    case u'D':
    case u'H':
        return ColorClass::tool;
    case u'N':
        return ColorClass::lineNo;
    case u'O':
        return ColorClass::progNo;
    default:
        return ColorClass::plain;
    }
}

GCodeHighlighter::HighlightResult GCodeHighlighter::spans(QStringView text, qsizetype from, qsizetype length,
                                                          AppLanguage language)
{
    HighlightResult result;
    // Cut [from, from + length) to the text; a range starting before the text
    // loses its part outside, it is not shifted in.
    qsizetype end = 0;
    if (__builtin_add_overflow(from, length, &end)) {
        end = from < 0 ? 0 : text.size();
    }
    from = std::clamp<qsizetype>(from, 0, text.size());
    length = std::clamp<qsizetype>(end, from, text.size()) - from;
    if (length == 0) {
        return result;
    }
    const QStringView subject = text.sliced(from, length);
    std::vector<quint8> attributes(std::size_t(length), attribute(ColorClass::plain, 0));
    const auto paint = [&](qsizetype start, qsizetype count, quint8 value) {
        std::fill_n(attributes.begin() + start, count, value);
    };

    for (auto it = wordsPattern().globalMatch(subject); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        const qsizetype start = match.capturedStart();
        const qsizetype count = match.capturedLength();
        const QChar letter = subject[start].toUpper();
        paint(start, count, attribute(colorFor(letter), letter == u'O' ? kBold : 0));
        if ((letter == u'G' || letter == u'M') && count >= 2) {
            if (auto tip = GCodeReference::describe(letter, subject.sliced(start + 1, count - 1), language)) {
                result.tooltips.append({from + start, count, std::move(*tip)});
            }
        }
    }
    for (auto it = commentsPattern().globalMatch(subject); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        paint(match.capturedStart(), match.capturedLength(), attribute(ColorClass::comment, kItalic));
    }
    for (auto it = markersPattern().globalMatch(subject); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        paint(match.capturedStart(), match.capturedLength(), attribute(ColorClass::marker, kBold));
    }

    qsizetype runStart = 0;
    for (qsizetype i = 1; i <= length; ++i) {
        if (i == length || attributes[i] != attributes[runStart]) {
            const quint8 value = attributes[runStart];
            result.runs.append({from + runStart, i - runStart, ColorClass(value & kClassMask), (value & kBold) != 0,
                                (value & kItalic) != 0});
            runStart = i;
        }
    }
    return result;
}
