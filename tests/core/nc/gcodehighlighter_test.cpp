#include "nc/gcodehighlighter.h"

#include "nc/gcodereference.h"

#include <gtest/gtest.h>

namespace {

using CC = GCodeHighlighter::ColorClass;

struct Rendered {
    QString classes; // one character per UTF-16 unit of the asked range
    QStringList tips; // "start description"
};

// Colours the range and writes it as class letters, checking on the way that
// the runs tile the (clamped) range and that the font follows the class:
// bold for O words and markers, italic for comments, nothing else.
Rendered render(const QString &text, qsizetype from, qsizetype length, AppLanguage language)
{
    const auto result = GCodeHighlighter::spans(text, from, length, language);
    Rendered out;
    qsizetype next = std::min(from, text.size());
    for (const GCodeHighlighter::Run &run : result.runs) {
        EXPECT_EQ(run.start, next);
        EXPECT_GT(run.length, 0);
        EXPECT_EQ(run.bold, run.color == CC::progNo || run.color == CC::marker) << run.start;
        EXPECT_EQ(run.italic, run.color == CC::comment) << run.start;
        out.classes += QString(run.length, QLatin1Char(".gmarfstnoc%"[int(run.color)]));
        next += run.length;
    }
    EXPECT_EQ(next, std::min(from + length, text.size()));
    for (const auto &tip : result.tooltips) {
        out.tips << QString::number(tip.start) + u' ' + tip.text;
    }
    return out;
}

const QString G00 = QStringLiteral("G00 \u00B7 Rapid positioning (non-cutting)");
const QString G01 = QStringLiteral("G01 \u00B7 Linear interpolation (cutting)");

} // namespace

TEST(GCodeHighlighter, ClassesFontsAndTooltipsOverTheAskedRange)
{
    const struct {
        QString text;
        QString classes;
        QStringList tips;
        qsizetype from = 0, length = -1;
        AppLanguage language = AppLanguage::english;
    } rows[] = {
        {"N10 G01 X1.5 F200 (ROUGH)", "nnn.ggg.aaaa.ffff.ccccccc", {"4 " + G01}},
        // A lone letter is a word; a sign without digits belongs to it, a dot does not.
        {"E P X- Y. s", "f...aa.a..s", {}},
        // An unclosed comment ends with its line.
        {"G1 (UNCLOSED comment\nG2 X1 ; rest (of) line\nM3",
         "gg.ccccccccccccccccc.gg.aa.cccccccccccccccc.mm",
         {"0 " + G01, QStringLiteral("21 G02 \u00B7 Clockwise arc (CW)"),
          QStringLiteral("44 M03 \u00B7 Spindle ON clockwise (CW)")}},
        // Markers start with "%" after blanks only, on every Unicode line start,
        // and come last, so the comment on a marker line is marker too.
        {QStringLiteral("  %\nG0 %\n%\u00A0tail (c)\nX1"), "%%%.gg...%%%%%%%%%%.aa", {"4 " + G00}},
        {QStringLiteral("G1\u2028%1\r\n %"), "gg.%%..%%", {"0 " + G01}},
        // Tooltips only for known codes with a number; they survive in comments.
        {"G", "g", {}},
        {"G5.1 G-1 M100 T1", "gggg.ggg.mmmm.tt", {}},
        {"g1 G28.1 m8", "gg.ggggg.mm",
         {"0 " + G01, QStringLiteral("3 G28 \u00B7 Return to machine zero (home)"),
          QStringLiteral("9 M08 \u00B7 Coolant ON")}},
        {"M30", "mmm", {"0 " + *GCodeReference::describe(u'M', u"30", AppLanguage::spanish)}, 0, -1,
         AppLanguage::spanish},
        {"O1000 (O1 G1) %O3\n %O2 (c)", "ooooo.ccccccc..oo.%%%%%%%%", {"10 " + G01}},
        // Only the asked range is coloured; requests past the end are clamped.
        {"N1 G0 X1\nN2 G1 X2 (CUT)\nN3 M30", "nn.gg.aa.ccccc", {"12 " + G01}, 9, 14},
        {"N1 G0 X1\nN2 G1 X2 (CUT)\nN3 M30", "nn.gg.aa.ccccc.nn.mmm", {"12 " + G01, QStringLiteral("27 M30 \u00B7 End of program and rewind")}, 9, 1000},
        {"N1 G0 X1", "", {}, 13, 10},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        const Rendered got =
            render(row.text, row.from, row.length < 0 ? row.text.size() : row.length, row.language);
        EXPECT_EQ(got.classes, row.classes);
        EXPECT_EQ(got.tips, row.tips);
    }
}

TEST(GCodeHighlighter, LetterClassesAndTheirColours)
{
    const std::pair<const char *, CC> letters[] = {
        {"Gg", CC::gCode}, {"Mm", CC::mCode},   {"XYZABCUVWxyzabcuvw", CC::axis}, {"IJKRQijkrq", CC::arc},
        {"FEfe", CC::feed}, {"Ss", CC::spindle}, {"TDHtdh", CC::tool},              {"Nn", CC::lineNo},
        {"Oo", CC::progNo}, {"LPlp%(1", CC::plain},
    };
    for (const auto &[chars, color] : letters) {
        for (const char *c = chars; *c; ++c) {
            EXPECT_EQ(GCodeHighlighter::colorFor(QLatin1Char(*c)), color) << *c;
        }
    }
    // Light and dark per class, in declaration order; N numbers recede in the dark.
    const std::pair<quint32, quint32> values[] = {
        {0x1C1C1E, 0xE8E8EA}, {0x0B5FD0, 0x6FB2FF}, {0xC2185B, 0xFF7FB0}, {0x1B7F3B, 0x6FDC8C},
        {0x00796B, 0x4DD0C4}, {0xC25E00, 0xFFAE57}, {0x6A3AB2, 0xC4A2FF}, {0x8A6100, 0xE8C15C},
        {0x9A9AA0, 0x76767C}, {0x1C1C1E, 0xFFFFFF}, {0x6E7B72, 0x8FA396}, {0xD32F2F, 0xFF6B6B},
    };
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(GCodeHighlighter::colorValues(CC(i)).light, values[i].first) << i;
        EXPECT_EQ(GCodeHighlighter::colorValues(CC(i)).dark, values[i].second) << i;
    }
}
