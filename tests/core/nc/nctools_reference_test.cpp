// The tools run on hand-written scanners for speed. This file keeps the
// definition they replace: the same tools written plainly with the regular
// expressions that define them, applied line by line. Every scanner must give
// byte for byte the same result on a large generated program, on the same
// program salted with awkward tokens, and on random lines made of nothing but
// awkward tokens.
#include "nc/nctools.h"
#include "programgenerator.h"

#include <QRegularExpression>
#include <QMap>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>
#include <random>
#include <string>

namespace {

// `\s` as the patterns mean it: the Unicode White_Space property.
const QString kSpace = QStringLiteral("[\\t\\n\\x{0B}\\f\\r\\x{85}\\p{Z}]");

QRegularExpression pattern(QString source)
{
    QRegularExpression regex(source.replace(QStringLiteral("\\s"), kSpace));
    EXPECT_TRUE(regex.isValid()) << source.toStdString();
    return regex;
}

const QRegularExpression leadingN = pattern(R"(^\s*[nN][0-9]+\s*)");
const QRegularExpression multiSpace = pattern(R"([ \t]{2,})");
// "[ \t]+$" where "$" also matches before one final line terminator.
const QRegularExpression trailingBlanks = pattern(R"([ \t]+(?=[\n\x{0B}\f\r\x{85}\x{2028}\x{2029}]?\z))");
const QRegularExpression coolantOn = pattern(R"((?<![0-9])[Mm]0*8(?![0-9]))");

QString trimmed(const QString &line)
{
    static const QRegularExpression ends(QStringLiteral("^[\\t\\p{Zs}]+|[\\t\\p{Zs}]+$"));
    return QString(line).remove(ends);
}

// Frames the lines; a per-line function returning nullopt drops the line.
QString framed(QString text, const std::function<std::optional<QString>(const QString &)> &perLine)
{
    const bool crlf = text.contains(QStringLiteral("\r\n"));
    QStringList out;
    for (const QString &line : text.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\r', u'\n').split(u'\n')) {
        if (const std::optional<QString> result = perLine(line)) {
            out.append(*result);
        }
    }
    return out.join(crlf ? QStringLiteral("\r\n") : QStringLiteral("\n"));
}

bool isProtected(const QString &line)
{
    const QString t = trimmed(line);
    return t.isEmpty() || t.startsWith(u'%') || t.startsWith(u'(') || t.startsWith(u'O') || t.startsWith(u'o');
}

QString number(const QString &text, qint64 counter, qint64 step, bool keepExisting)
{
    return framed(text, [&](const QString &line) {
        if (isProtected(line) || (keepExisting && leadingN.match(line).hasMatch())) {
            return line;
        }
        const QString n = "N" + QString::number(counter) + " " + trimmed(QString(line).remove(leadingN));
        counter += step;
        return n;
    });
}

QString removeLineNumbers(const QString &text)
{
    return framed(text, [](const QString &line) { return isProtected(line) ? line : QString(line).remove(leadingN); });
}

QString formatSpacing(const QString &text)
{
    return framed(text, [](const QString &line) {
        return isProtected(line) ? line : trimmed(line).replace(multiSpace, QStringLiteral(" "));
    });
}

QString removeMatching(const QString &text, const QRegularExpression &regex)
{
    return framed(text, [&](const QString &line) -> std::optional<QString> {
        QString result = QString(line).remove(regex).replace(multiSpace, QStringLiteral(" ")).remove(trailingBlanks);
        if (!trimmed(line).isEmpty() && trimmed(QString(result).remove(leadingN)).isEmpty()) {
            return std::nullopt;
        }
        return result;
    });
}

QString removeMCodes(const QString &text, const QList<qint64> &codes)
{
    QStringList written;
    for (qint64 code : codes) {
        written.append(QString::number(code));
    }
    return codes.isEmpty() ? text : removeMatching(text, pattern("(?<![0-9])[Mm]0*(?:" + written.join(u'|') + ")(?![0-9])"));
}

QString scale(const QString &text, const QString &source, double factor)
{
    QString out = text;
    QList<QRegularExpressionMatch> matches;
    for (auto it = pattern(source).globalMatch(text); it.hasNext();) {
        matches.prepend(it.next());
    }
    for (const QRegularExpressionMatch &m : matches) {
        bool ok = false;
        const double value = m.captured(2).toDouble(&ok) * factor;
        const qsizetype point = m.captured(2).indexOf(u'.');
        char buffer[400];
        std::snprintf(buffer, sizeof buffer, "%.*f", int(std::clamp<qsizetype>(m.capturedLength(2) - point - 1, 1, 4)), value);
        if (ok) {
            out.replace(m.capturedStart(0), m.capturedLength(0),
                        m.captured(1) + (point < 0 ? QString::number(qint64(std::round(value))) : QString::fromLatin1(buffer)));
        }
    }
    return out;
}

QList<NCTools::AxisRange> axisRanges(QString text, const QList<QChar> &axes)
{
    text.replace(pattern(R"(\([^)]*\))"), QStringLiteral(" ")).replace(pattern(R"(;[^\n]*)"), QStringLiteral(" "));
    QMap<QChar, NCTools::AxisRange> seen;
    for (auto it = pattern(R"(([A-Za-z])\s*([+-]?(?:[0-9]+\.?[0-9]*|\.[0-9]+)))").globalMatch(text); it.hasNext();) {
        const QRegularExpressionMatch m = it.next();
        const QChar letter = m.captured(1).at(0).toUpper();
        bool ok = false;
        const double value = m.captured(2).toDouble(&ok);
        if (ok && axes.contains(letter)) {
            const NCTools::AxisRange old = seen.value(letter, {letter, value, value});
            seen.insert(letter, {letter, std::min(old.min, value), value >= old.max ? value : old.max});
        }
    }
    QList<NCTools::AxisRange> ranges;
    for (QChar axis : axes) {
        if (seen.contains(axis)) {
            ranges.append(seen[axis]);
        }
    }
    return ranges;
}

// Line breaks and tabs made visible, so a failure shows what differs.
std::string visible(const QString &text)
{
    QString shown = text;
    return shown.replace(u'\r', "\\r").replace(u'\n', "\\n").replace(u'\t', "\\t").toStdString();
}

QString rangesText(const QList<NCTools::AxisRange> &ranges)
{
    QString out;
    for (const NCTools::AxisRange &r : ranges) {
        out += QString::asprintf("%c[%.17g %.17g] ", char(r.axis.unicode()), r.min, r.max);
    }
    return out;
}

// Asserts every tool against its definition; returns false at the first
// difference so a random run stops with one readable failure.
bool sameAsDefinition(const QString &text)
{
    const std::string shown = visible(text.left(2000));
    auto same = [&](const QString &fast, const QString &defined, const char *tool) {
        if (fast == defined) {
            return true;
        }
        ADD_FAILURE() << tool << " differs on \"" << shown << "\"\n  scanner: " << visible(fast.left(2000))
                      << "\n  pattern: " << visible(defined.left(2000));
        return false;
    };
    bool ok = same(NCTools::renumber(text, 10, 10), number(text, 10, 10, false), "renumber") &&
              same(NCTools::renumber(text, -7, 3), number(text, -7, 3, false), "renumber") &&
              same(NCTools::addLineNumbers(text, 100, 5), number(text, 100, 5, true), "addLineNumbers") &&
              same(NCTools::removeLineNumbers(text), removeLineNumbers(text), "removeLineNumbers") &&
              same(NCTools::formatSpacing(text), formatSpacing(text), "formatSpacing") &&
              same(NCTools::removeCoolant(text), removeMatching(text, coolantOn), "removeCoolant");
    for (const QList<qint64> &codes : {QList<qint64>{8, 9}, QList<qint64>{0}, QList<qint64>{3, -5, 0, 30},
                                       QList<qint64>{80, 8}, QList<qint64>{}}) {
        ok = ok && same(NCTools::removeMCodes(text, codes), removeMCodes(text, codes), "removeMCodes");
    }
    for (double factor : {0.9, 1.1, 2.0, 0.5, -0.5, 1.23456}) {
        ok = ok && same(NCTools::scaleFeed(text, factor), scale(text, R"(([Ff])([0-9]*\.?[0-9]+))", factor),
                        "scaleFeed");
        ok = ok && same(NCTools::scaleSpindle(text, factor), scale(text, R"(([Ss])([0-9]*\.?[0-9]+))", factor),
                        "scaleSpindle");
    }
    for (const QList<QChar> &axes : {QList<QChar>{'X', 'Y', 'Z'}, QList<QChar>{'Z', 'N', 'M', 'X'}}) {
        ok = ok && same(rangesText(NCTools::axisRanges(text, axes)), rangesText(axisRanges(text, axes)), "axisRanges");
    }
    return ok;
}

// Tokens chosen to sit on the edge of one pattern or another.
const QStringList &awkwardTokens()
{
    static const QStringList tokens = {
        "N", "n", "N10", "n007", "N\u0661\u0662", "M", "m", "M8", "m8", "M08", "m008", "M080", "M80", "M18",
        "M88", "M9", "M09", "M0", "M00", "M3", "M30", "M-5", "M0-5", "M00-7", "X", "x", "X1.5", "X 1.5",
        "X\t-2", ".5", "-.5", "+.5", "1.", "1.5.5", "F", "f", "F450.", "F.5", "F12.34567", "f0.25", "S", "s",
        "S1000", "s0.05", "S3", "(", ")", "(X5)", ";", ";X9", "( ; )", " ", "  ", "\t", " \t ", "\u00A0",
        "\u2003", "\u3000", "\u2028", "\u2029", "\v", "\f", "\u0085", "\u180E", "\u0661", "\u0668", "%", "O",
        "o", "O1000", "G0", "G01", "Y-3", "Z+.5", "/", "1", "0", "8", "9", "-", "+", "X1M8", "\u00E9",
        "\U0001F600", "\r", "\n", "\r\n"};
    return tokens;
}

QString awkwardLine(std::mt19937 &rng, int maxTokens)
{
    const QStringList &tokens = awkwardTokens();
    std::uniform_int_distribution<int> count(0, maxTokens);
    std::uniform_int_distribution<qsizetype> pick(0, tokens.size() - 1);
    QString line;
    for (int i = count(rng); i > 0; --i) {
        line += tokens[pick(rng)];
    }
    return line;
}

} // namespace

// The named cases first, then random lines made of nothing but awkward tokens.
TEST(ScannersMatchPatterns, NamedAndRandomLinesOfAwkwardTokens)
{
    const QStringList cases = {
        "", "\n", "\r", "\r\n", "\r\r\n", "\n\r", "m8", "M080", "X1M8", "N", "N\n", "X 1.5", ".5", "-.5", "+.5",
        "1.", "G1 X1 (unclosed\nX2", "( ; ) X3 ; (X4)\nX5", "( a\r\nb ) X6", "A\u00A0\u2003\u3000B  C",
        "N\u0661 X\u0662", "N10 M8\u00A0", "  \t  ", "%  M8", "O100 N20 M08", "F1.23456 S100.", "F.5F5f5.",
        "X(c)5 X;c\n-9", "N5 G0 X0\r\nG1 X10\r\nM30", "G1 M8 \u2028", "G1 \u2029 \v", "\u0085N10 M9\u0085",
    };
    for (const QString &text : cases) {
        EXPECT_TRUE(sameAsDefinition(text));
    }
    std::mt19937 rng(4242);
    for (int round = 0; round < 6000; ++round) {
        QString text;
        for (int lines = int(rng() % 5); lines >= 0; --lines) {
            text += awkwardLine(rng, 10);
        }
        ASSERT_TRUE(sameAsDefinition(text)) << "round " << round;
    }
}

// Large generated programs in both line-break styles, one salted with awkward
// tokens, and many one-character blocks whose numbering more than triples the
// text, well past the room the scanners reserve up front.
TEST(ScannersMatchPatterns, LargeGeneratedPrograms)
{
    EXPECT_TRUE(sameAsDefinition(QString(";\n").repeated(100'000)));
    for (bool crlf : {false, true}) {
        EXPECT_TRUE(sameAsDefinition(ProgramGenerator::milling(1'500'000, 7, crlf))) << (crlf ? "CRLF" : "LF");
    }
    std::mt19937 rng(99);
    const QString program = ProgramGenerator::milling(800'000, 11, false);
    QString salted;
    std::uniform_int_distribution<int> gap(1, 60);
    for (qsizetype at = 0, step = 0; at < program.size(); at += step) {
        step = gap(rng);
        salted += program.mid(at, step) + awkwardLine(rng, 2);
    }
    EXPECT_TRUE(sameAsDefinition(salted));
}

// Trimming removes tab and the space separators; the patterns' "\s" is
// White_Space. Through the public tools, over the whole BMP: a trimmed
// character vanishes from the end of a line; a "\s" one may surround an N word.
TEST(ScannerCharacterClasses, BlanksAndSpacesFollowUnicode)
{
    for (char32_t u = 0; u <= 0xFFFF; ++u) {
        const QString one(QChar(static_cast<char16_t>(u)));
        const QChar::Category category = one.at(0).category();
        const bool separator = category == QChar::Separator_Space;
        const bool patternSpace = (u >= 0x09 && u <= 0x0D) || u == 0x85 || separator ||
                                  category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
        ASSERT_EQ(NCTools::formatSpacing("G1" + one) == "G1", u == u'\t' || separator) << std::hex << unsigned(u);
        ASSERT_TRUE(u == u'\n' || u == u'\r' || (NCTools::removeLineNumbers(one + "N1" + one + "G1") == "G1") == patternSpace)
            << std::hex << unsigned(u);
    }
}
