#include "nc/gcodehighlighter.h"

#include "nc/gcodereference.h"

#include <gtest/gtest.h>

#include <ostream>

// Readable failures: "[9, +10) class 11 bold".
void PrintTo(const GCodeHighlighter::Run &run, std::ostream *os)
{
    *os << "[" << run.start << ", +" << run.length << ") class " << int(run.color) << (run.bold ? " bold" : "")
        << (run.italic ? " italic" : "");
}

namespace {

using Highlighter = GCodeHighlighter;
using CC = GCodeHighlighter::ColorClass;
using Span = GCodeHighlighter::Run;

Highlighter::HighlightResult spansOf(const QString &text, AppLanguage language = AppLanguage::english)
{
    return Highlighter::spans(text, 0, text.size(), language);
}

// The run covering `position`; the runs must tile the range for this to make sense.
Span runAt(const Highlighter::HighlightResult &result, qsizetype position)
{
    for (const Span &run : result.runs) {
        if (position >= run.start && position < run.start + run.length) {
            return run;
        }
    }
    ADD_FAILURE() << "no run at " << position;
    return {};
}

CC classAt(const Highlighter::HighlightResult &result, qsizetype position)
{
    return runAt(result, position).color;
}

} // namespace

TEST(GCodeHighlighter, ColoursAWholeBlockWithItsTooltip)
{
    const QString line = "N10 G01 X1.5 F200 (ROUGH)";
    const auto result = spansOf(line);
    const QList<Span> expected = {
        {0, 3, CC::lineNo, false, false}, {3, 1, CC::plain, false, false},  {4, 3, CC::gCode, false, false},
        {7, 1, CC::plain, false, false},  {8, 4, CC::axis, false, false},   {12, 1, CC::plain, false, false},
        {13, 4, CC::feed, false, false},  {17, 1, CC::plain, false, false}, {18, 7, CC::comment, false, true},
    };
    EXPECT_EQ(result.runs, expected);
    ASSERT_EQ(result.tooltips.size(), 1);
    EXPECT_EQ(result.tooltips[0], (Highlighter::Tooltip{4, 3, "G01 \u00B7 Linear interpolation (cutting)"}));
}

TEST(GCodeHighlighter, ALoneLetterIsAWord)
{
    const auto result = spansOf("E P X- Y. s");
    EXPECT_EQ(classAt(result, 0), CC::feed);
    EXPECT_EQ(classAt(result, 2), CC::plain);
    // A sign without digits still belongs to the word; a dot without digits does not.
    EXPECT_EQ(runAt(result, 4), (Span{4, 2, CC::axis, false, false}));
    EXPECT_EQ(classAt(result, 7), CC::axis);
    EXPECT_EQ(classAt(result, 8), CC::plain);
    EXPECT_EQ(classAt(result, 10), CC::spindle);
}

TEST(GCodeHighlighter, UnclosedCommentEndsWithItsLine)
{
    const QString text = "G1 (UNCLOSED comment\nG2 X1 ; rest (of) line\nM3";
    const auto result = spansOf(text);
    EXPECT_EQ(runAt(result, 3), (Span{3, 17, CC::comment, false, true}));
    EXPECT_EQ(classAt(result, 20), CC::plain); // the line break
    EXPECT_EQ(classAt(result, 21), CC::gCode);
    const qsizetype semi = text.indexOf(u';');
    EXPECT_EQ(runAt(result, semi), (Span{semi, 16, CC::comment, false, true}));
    EXPECT_EQ(classAt(result, text.size() - 1), CC::mCode);
}

TEST(GCodeHighlighter, MarkerLinesStartWithPercentAfterBlanksOnly)
{
    const QString text = "  %\nG0 %\n%\u00A0tail (c)\nX1";
    const auto result = spansOf(text);
    EXPECT_EQ(runAt(result, 0), (Span{0, 3, CC::marker, true, false}));
    EXPECT_EQ(classAt(result, 7), CC::plain); // the "%" of "G0 %"
    // The marker pass comes last, so the comment on a marker line is marker too.
    const qsizetype marker = text.indexOf(QStringLiteral("%\u00A0"));
    EXPECT_EQ(runAt(result, marker), (Span{marker, 10, CC::marker, true, false}));
    EXPECT_EQ(classAt(result, text.size() - 1), CC::axis);
    // Every Unicode line end starts a line for the marker pass, not just "\n".
    const auto separated = spansOf(QStringLiteral("G1\u2028%1\r\n %"));
    EXPECT_EQ(runAt(separated, 3), (Span{3, 2, CC::marker, true, false}));
    EXPECT_EQ(runAt(separated, 7), (Span{7, 2, CC::marker, true, false}));
}

TEST(GCodeHighlighter, TooltipsOnlyForKnownCodesWithADigit)
{
    const auto tips = [](const QString &text, AppLanguage language = AppLanguage::english) {
        QStringList out;
        for (const auto &tip : spansOf(text, language).tooltips) {
            out.append(QString::number(tip.start) + u' ' + tip.text);
        }
        return out;
    };
    EXPECT_TRUE(tips("G").isEmpty());
    EXPECT_TRUE(tips("G5.1 G-1 M100 T1").isEmpty());
    EXPECT_EQ(tips("g1 G28.1 m8"), (QStringList{"0 G01 \u00B7 Linear interpolation (cutting)",
                                                 "3 G28 \u00B7 Return to machine zero (home)",
                                                 "9 M08 \u00B7 Coolant ON"}));
    EXPECT_EQ(tips("M30", AppLanguage::spanish),
              QStringList{"0 " + *GCodeReference::describe(u'M', u"30", AppLanguage::spanish)});
}

TEST(GCodeHighlighter, LaterPassesOverrideColourAndFontButKeepTooltips)
{
    const QString text = "O1000 (O1 G1) %O3\n %O2 (c)";
    const auto result = spansOf(text);
    EXPECT_EQ(runAt(result, 0), (Span{0, 5, CC::progNo, true, false}));
    EXPECT_EQ(runAt(result, 6), (Span{6, 7, CC::comment, false, true}));
    EXPECT_EQ(classAt(result, 14), CC::plain); // a "%" inside a line marks nothing
    EXPECT_EQ(runAt(result, 15), (Span{15, 2, CC::progNo, true, false}));
    EXPECT_EQ(runAt(result, 18), (Span{18, 8, CC::marker, true, false}));
    ASSERT_EQ(result.tooltips.size(), 1);
    EXPECT_EQ(result.tooltips[0].start, 10); // "G1" inside the comment keeps its tooltip
}

TEST(GCodeHighlighter, WorksOnlyInsideTheAskedRange)
{
    const QString text = "N1 G0 X1\nN2 G1 X2 (CUT)\nN3 M30";
    const qsizetype from = text.indexOf(u'\n') + 1;
    const qsizetype length = text.lastIndexOf(u'\n') - from;
    const auto result = Highlighter::spans(text, from, length, AppLanguage::english);
    ASSERT_FALSE(result.runs.isEmpty());
    EXPECT_EQ(result.runs.first().start, from);
    qsizetype next = from;
    for (const Span &run : result.runs) {
        EXPECT_EQ(run.start, next);
        EXPECT_GT(run.length, 0);
        next = run.start + run.length;
    }
    EXPECT_EQ(next, from + length);
    ASSERT_EQ(result.tooltips.size(), 1);
    EXPECT_EQ(result.tooltips[0].start, from + 3);
    // Out-of-range requests are clamped to the text.
    EXPECT_TRUE(Highlighter::spans(text, text.size() + 5, 10, AppLanguage::english).runs.isEmpty());
    EXPECT_EQ(Highlighter::spans(text, from, 1000, AppLanguage::english).runs.last().start +
                  Highlighter::spans(text, from, 1000, AppLanguage::english).runs.last().length,
              text.size());
}

TEST(GCodeHighlighter, LetterClassesAndTheirColours)
{
    const std::pair<const char *, CC> letters[] = {
        {"Gg", CC::gCode},    {"Mm", CC::mCode},      {"XYZABCUVWxyzabcuvw", CC::axis}, {"IJKRQijkrq", CC::arc},
        {"FEfe", CC::feed},   {"Ss", CC::spindle},    {"TDHtdh", CC::tool},             {"Nn", CC::lineNo},
        {"Oo", CC::progNo},   {"LPlp%(1", CC::plain},
    };
    for (const auto &[chars, color] : letters) {
        for (const char *c = chars; *c; ++c) {
            EXPECT_EQ(Highlighter::colorFor(QLatin1Char(*c)), color) << *c;
        }
    }
    EXPECT_EQ(Highlighter::colorValues(CC::gCode).light, 0x0B5FD0u);
    EXPECT_EQ(Highlighter::colorValues(CC::gCode).dark, 0x6FB2FFu);
    EXPECT_EQ(Highlighter::colorValues(CC::marker).dark, 0xFF6B6Bu);
    // N numbers recede in the dark: the dark value is darker than the light one.
    EXPECT_EQ(Highlighter::colorValues(CC::lineNo).light, 0x9A9AA0u);
    EXPECT_EQ(Highlighter::colorValues(CC::lineNo).dark, 0x76767Cu);
    EXPECT_EQ(Highlighter::colorValues(CC::progNo).light, Highlighter::colorValues(CC::plain).light);
    EXPECT_EQ(Highlighter::colorValues(CC::progNo).dark, 0xFFFFFFu);
}
