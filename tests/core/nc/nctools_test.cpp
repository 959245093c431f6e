#include "nc/nctools.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>

using namespace NCTools;

namespace {

// Line breaks and tabs made visible, so a failure shows what differs.
std::string visible(const QString &text)
{
    QString shown = text;
    return shown.replace(u'\r', "\\r").replace(u'\n', "\\n").replace(u'\t', "\\t").toStdString();
}

#define EXPECT_TEXT(actual, expected) EXPECT_EQ(visible(actual), visible(QString(expected)))

constexpr qint64 kMax = std::numeric_limits<qint64>::max();
constexpr qint64 kMin = std::numeric_limits<qint64>::min();

} // namespace

// One row per rule: the tool, its input and what must come out.
TEST(LineTools, TableOfRules)
{
    const QString prot = "%\n(comment  here)\nO1000\no2000  \n\n   \n\u3000\u00A0\n  (indented)  \n";
    const struct {
        std::function<QString(const QString &)> tool;
        QString in, out;
    } rows[] = {
        // Line framing: one CRLF anywhere makes every break CRLF; lone CRs become the terminator.
        {[](auto t) { return renumber(t, 10, 10); }, "N5 G0 X0\r\nG1 X10\r\nM30", "N10 G0 X0\r\nN20 G1 X10\r\nN30 M30"},
        {[](auto t) { return renumber(t, 1, 1); }, "G0\nG1\r\nG2\rG3", "N1 G0\r\nN2 G1\r\nN3 G2\r\nN4 G3"},
        {formatSpacing, "A\r\r\nB", "A\r\n\r\nB"},
        {removeLineNumbers, "N1 G0\rN2 G1\r", "G0\nG1\n"},
        {formatSpacing, "A\n\rB", "A\n\nB"},
        {[](auto t) { return renumber(t, 10, 10); }, "", ""},
        {[](auto t) { return addLineNumbers(t, 10, 10); }, "", ""},
        {removeLineNumbers, "", ""},
        {formatSpacing, "", ""},
        {removeCoolant, "", ""},
        {[](auto t) { return removeMCodes(t, {8}); }, "", ""},
        {[](auto t) { return renumber(t, 10, 10); }, "G0\n\n", "N10 G0\n\n"},
        {formatSpacing, "G0  X1\n", "G0 X1\n"},
        {removeCoolant, "G0 M8\r\n", "G0\r\n"},
        // Protected lines pass untouched; ";" and "/" lines are blocks.
        {[](auto t) { return renumber(t, 10, 10); }, prot + ";comment\n/G1", prot + "N10 ;comment\nN20 /G1"},
        {[](auto t) { return addLineNumbers(t, 10, 10); }, prot + ";comment\n/G1", prot + "N10 ;comment\nN20 /G1"},
        {removeLineNumbers, "%N10\n(N10)\nO1 N10\n  \nN10 G1", "%N10\n(N10)\nO1 N10\n  \nG1"},
        {formatSpacing, prot + ";comment\n/G1", prot + ";comment\n/G1"},
        // Renumber trims the rest and keeps the space when nothing follows.
        {[](auto t) { return renumber(t, 100, 5); }, "N10", "N100 "},
        {[](auto t) { return renumber(t, 100, 5); }, "N10 G21 G17\nG54", "N100 G21 G17\nN105 G54"},
        {[](auto t) { return renumber(t, 10, 10); }, "  n7  G1  X1  \t", "N10 G1  X1"},
        {[](auto t) { return renumber(t, 10, 10); }, "N10G1", "N10 G1"},
        {[](auto t) { return renumber(t, 10, 10); }, "N X1", "N10 N X1"},
        {[](auto t) { return renumber(t, 10, 10); }, "\u00A0N20\u2003G1\u3000", "N10 G1"},
        // Form feed is white space for the N word but not trimmed as a blank.
        {[](auto t) { return renumber(t, 10, 10); }, "\fN5 G1", "N10 G1"},
        {[](auto t) { return renumber(t, 10, 10); }, "\fG1", "N10 \fG1"},
        {[](auto t) { return renumber(t, 10, 10); }, u"N\u0661\u0662 G1"_qs, u"N10 N\u0661\u0662 G1"_qs},
        {[](auto t) { return renumber(t, -5, -10); }, "G0\nG1", "N-5 G0\nN-15 G1"},
        {[](auto t) { return renumber(t, kMax - 2, 1); }, "G0\nG1", "N9223372036854775805 G0\nN9223372036854775806 G1"},
        {[](auto t) { return renumber(t, kMin, 0); }, "G0", "N-9223372036854775808 G0"},
        // addLineNumbers numbers only blocks without an N word; duplicates are fine.
        {[](auto t) { return addLineNumbers(t, 10, 10); }, "N5 G0\nG1 X1", "N5 G0\nN10 G1 X1"},
        {[](auto t) { return addLineNumbers(t, 10, 10); }, "G0\n  n10   G1  \nG2", "N10 G0\n  n10   G1  \nN20 G2"},
        {[](auto t) { return addLineNumbers(t, 1, 1); }, "  G0  X1 \t\nN\nNX", "N1 G0  X1\nN2 N\nN3 NX"},
        // removeLineNumbers strips the leading word only.
        {removeLineNumbers, "N10 G0  \nN20\n  n30 \t X1\nN40G1\nG1 N50\nN", "G0  \n\nX1\nG1\nG1 N50\nN"},
        {removeLineNumbers, "\u2003N10\u00A0X1", "X1"},
        // formatSpacing collapses only spaces and tabs; other blanks are trimmed at the ends.
        {formatSpacing, "N10   G0    X0   Y0", "N10 G0 X0 Y0"},
        {formatSpacing, "  G1\tX1  \t Y2 \t", "G1\tX1 Y2"},
        {formatSpacing, "\u3000G1\u00A0\u00A0X1\u3000", "G1\u00A0\u00A0X1"},
        // Removal drops lines left with only an N number, even where nothing matched.
        {removeCoolant, "N50 G00 X1. M08\nN60 M08\nN70 G01 X2. M09", "N50 G00 X1.\nN70 G01 X2. M09"},
        {removeCoolant, "G0\nN10\nG1", "G0\nG1"},
        {removeCoolant, "M8\n", ""},
        {removeCoolant, "N60 M08\u00A0", ""},
        {removeCoolant, "M80 M18 M88 m8 M008 m08 X1", "M80 M18 M88 X1"},
        {removeCoolant, "X1M8 G1", "X1M8 G1"},
        {removeCoolant, "M8M8", "M8"},
        {removeCoolant, "G1 M8X1", "G1 X1"},
        {removeCoolant, u"M\u0668 M8\u0661"_qs, u"M\u0668 \u0661"_qs},
        {removeCoolant, "%\n(M8 ON)\nO1 M8\n   \n\t\n", "%\n( ON)\nO1\n\n\n"},
        {removeCoolant, "  G1    X1 \t ", " G1 X1"},
        // "$" also matches before a final line separator, so the blank before it goes.
        {removeCoolant, "G1 M8 \u2028", "G1\u2028"},
        {removeCoolant, "G1 \u2028 ", "G1 \u2028"},
        {removeCoolant, "G1 \v", "G1\v"},
        {[](auto t) { return removeMCodes(t, {8, 9}); }, "N10 G0 X0 M08\nN20 M09\nN30 G1 X1 M08", "N10 G0 X0\nN30 G1 X1"},
        {[](auto t) { return removeMCodes(t, {9, 8, 9}); }, "N20 M09\nM89 M80", "M89 M80"},
        {[](auto t) { return removeMCodes(t, {0}); }, "M00 M000 M0 M01 M10 M0X", " M01 M10 X"},
        {[](auto t) { return removeMCodes(t, {3, 30}); }, "M3 M03 M30 M300 M003", " M300"},
        {[](auto t) { return removeMCodes(t, {}); }, "N10\nG1    X1   \r\nM8", "N10\nG1    X1   \r\nM8"},
        {[](auto t) { return removeMCodes(t, {-5}); }, "M-5 G1\nM00-5 G2\nM-50 G3\nM-05 G4", " G1\n G2\nM-50 G3\nM-05 G4"},
        {[](auto t) { return removeMCodes(t, {-5, 0}); }, "M0-7 G1", "-7 G1"},
        {[](auto t) { return removeMCodes(t, {kMax}); }, "M9223372036854775807 M9223372036854775808", " M9223372036854775808"},
        {[](auto t) { return removeMCodes(t, {kMin}); }, "M-9223372036854775808 G1", " G1"},
        // Scaling keeps decimals and case, frames no lines and scales comments too.
        {[](auto t) { return scaleFeed(t, 0.9); }, "G01 X1. F450.\nG01 Y2. F1000", "G01 X1. F405.\nG01 Y2. F900"},
        {[](auto t) { return scaleSpindle(t, 1.1); }, "S1000 M3", "S1100 M3"},
        {[](auto t) { return scaleFeed(t, 2); }, "F1.23456 F100", "F2.4691 F200"},
        {[](auto t) { return scaleFeed(t, 3); }, "F.5 f12.5 F1.5.5 F FF10 F-5", "F1.5 f37.5 F4.5.5 F FF30 F-5"},
        {[](auto t) { return scaleFeed(t, 2); }, "F10\rF20\r\nF30\n", "F20\rF40\r\nF60\n"},
        {[](auto t) { return scaleSpindle(t, 2); }, "(TOOLS5) S100 s2", "(TOOLS10) S200 s4"},
        {[](auto t) { return scaleFeed(t, 2); }, "OFFSET F\u0661\u0662 F12", "OFFSET F\u0661\u0662 F24"},
        // Integers round half away from zero.
        {[](auto t) { return scaleFeed(t, 0.5); }, "F5 F1 F3", "F3 F1 F2"},
        {[](auto t) { return scaleSpindle(t, -0.5); }, "S5 S1", "S-3 S-1"},
        {[](auto t) { return scaleFeed(t, 0.9); }, "F100", "F90"},
        {[](auto t) { return scaleFeed(t, -0.4); }, "F1", "F0"},
        {[](auto t) { return scaleFeed(t, -0.1); }, "F0.4", "F-0.0"},
    };
    for (const auto &row : rows) {
        EXPECT_TEXT(row.tool(row.in), row.out);
    }
}

TEST(NumberingFits, CountsEveryBlockButNoProtectedLine)
{
    EXPECT_TRUE(numberingFits("G0\nG1", kMax - 2, 1));
    EXPECT_FALSE(numberingFits("G0\nG1\nG2", kMax - 2, 1));
    EXPECT_TRUE(numberingFits("%\n(c)\nO1\n\nG0\nG1", kMax - 2, 1));
    EXPECT_FALSE(numberingFits("G0\nG1", kMin + 1, -1));
    EXPECT_TRUE(numberingFits("%\n", kMax, kMax));
    EXPECT_TRUE(numberingFits("", kMax, 0));
}

TEST(NumberingDeathTest, CounterOverflowStopsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(renumber("G0\nG1\nG2", kMax - 1, 1), "N counter overflowed");
    EXPECT_DEATH(addLineNumbers("G0\nG1\nG2", kMax - 1, 1), "N counter overflowed");
}

TEST(RemoveMatching, AppliesAnyPatternWithTheSameTidying)
{
    const QRegularExpression tool("T[0-9]+");
    EXPECT_TEXT(removeMatching("N10 T1  M6\nN20 T2\n(T3)\n  ", tool), "N10 M6\n()\n");
}

TEST(ParseMCodeList, SplitsAtEveryNonDigit)
{
    EXPECT_EQ(parseMCodeList("8, 9"), (QList<qint64>{8, 9}));
    EXPECT_EQ(parseMCodeList(" M8;9 010-3 "), (QList<qint64>{8, 9, 10, 3}));
    EXPECT_EQ(parseMCodeList(""), QList<qint64>{});
    EXPECT_EQ(parseMCodeList("none"), QList<qint64>{});
    EXPECT_EQ(parseMCodeList("99999999999999999999, 7"), QList<qint64>{7});
    EXPECT_EQ(parseMCodeList("9223372036854775807"), QList<qint64>{kMax});
    // Digits of other scripts belong to their piece, which then does not parse.
    EXPECT_EQ(parseMCodeList(u"8\u0668 9"_qs), QList<qint64>{9});
    EXPECT_EQ(parseMCodeList(u"\uFF18,8"_qs), QList<qint64>{8});
}

TEST(ScalingFits, RejectsIntegersBeyond64Bits)
{
    EXPECT_TRUE(scalingFits("F4000000000000000000", 'F', 2));
    // 2^62 - 1 is read as the double 2^62, and twice that is just out of range.
    EXPECT_FALSE(scalingFits("F4611686018427387903", 'F', 2));
    EXPECT_FALSE(scalingFits("F1 F9223372036854775807", 'F', 2));
    EXPECT_FALSE(scalingFits("f99999999999999999999", 'F', 1));
    EXPECT_TRUE(scalingFits("F99999999999999999999.0", 'F', 1e280));
    EXPECT_FALSE(scalingFits("F99999999999999999999.0", 'F', 1e300)); // would be written as "inf"
    EXPECT_FALSE(scalingFits("F1.5", 'F', std::numeric_limits<double>::quiet_NaN()));
    EXPECT_TRUE(scalingFits("S99999999999999999999", 'F', 1));
    EXPECT_FALSE(scalingFits("s99999999999999999999", 'S', 1));
}

TEST(ScalingDeathTest, ValueBeyond64BitsStopsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(scaleFeed("F99999999999999999999", 1), "does not round into 64 bits");
}

TEST(FormatLikeOriginal, DecimalsFollowTheOriginalAndIntegersRoundHalfAway)
{
    const std::tuple<double, const char *, const char *> rows[] = {
        {2.46912, "1.23456", "2.4691"}, {1.5, ".5", "1.5"},   {405, "450.", "405.0"},   {3, "1.00", "3.00"},
        {0.125, "0.10", "0.12"},        {1e20, "1.5", "100000000000000000000.0"},         {2.5, "5", "3"},
        {-2.5, "5", "-3"},              {-0.4, "1", "0"},     {9.2e18, "1", "9200000000000000000"}};
    for (const auto &[value, original, expected] : rows) {
        EXPECT_TEXT(formatLikeOriginal(value, original), expected);
    }
}

TEST(FormatLikeOriginal, IgnoresTheUserLocale)
{
    // A decimal-comma locale for LC_NUMERIC: an installed one, or one compiled
    // into a temporary folder when the system has none.
    QTemporaryDir localeDir;
    const char *previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous ? previous : "C";
    bool switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "es_ES.UTF-8");
    if (!switched && localeDir.isValid() && !QStandardPaths::findExecutable("localedef").isEmpty()) {
        QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", localeDir.filePath("de_DE.UTF-8")});
        qputenv("LOCPATH", QFile::encodeName(localeDir.path()));
        switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    }
    if (!switched) {
        GTEST_SKIP() << "no decimal-comma locale available";
    }
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 1.5);
    EXPECT_STREQ(probe, "1,5"); // the trap is really set

    EXPECT_TEXT(formatLikeOriginal(1.25, "1.00"), "1.25");
    EXPECT_TEXT(scaleFeed("F1.5", 2), "F3.0");
    EXPECT_EQ(axisRanges("X1.5 X1234567890.12345678", {'X'}).value(0), (AxisRange{'X', 1.5, 1234567890.12345678}));
    std::setlocale(LC_NUMERIC, saved.c_str());
    qunsetenv("LOCPATH");
}

TEST(AxisRanges, MeasuresEveryWordOutsideComments)
{
    const QList<AxisRange> ranges =
        axisRanges("G0 X1 Y2 Z3\nG1 X-4.5 Y.5 Z+.5\n(X100)\n;X200\nX 7\nG28 x-10\nG53 Z-0.", {'X', 'Y', 'Z'});
    ASSERT_EQ(ranges.size(), 3);
    EXPECT_EQ(ranges[0], (AxisRange{'X', -10, 7}));
    EXPECT_EQ(ranges[1], (AxisRange{'Y', 0.5, 2}));
    EXPECT_EQ(ranges[2], (AxisRange{'Z', -0.0, 3}));
}

TEST(AxisRanges, LeavesOutAxesNeverSeenAndFollowsTheGivenOrder)
{
    EXPECT_TRUE(axisRanges("(X1 X2)\n;X3\nG0 Y1", {'X'}).isEmpty());
    const QList<AxisRange> ranges = axisRanges("X1 Y2 Z3", {'Z', 'X'});
    ASSERT_EQ(ranges.size(), 2);
    EXPECT_EQ(ranges[0].axis, 'Z');
    EXPECT_EQ(ranges[1].axis, 'X');
    EXPECT_TRUE(axisRanges("X1", {}).isEmpty());
}

TEST(AxisRanges, CommentsAndNumberForms)
{
    const std::tuple<QString, double, double> rows[] = {
        {"X1 (start\nX50) X2", 1, 2},  // an unclosed "(" reaches the next ")" on a later line
        {"X1 (X50", 1, 50},              // with no ")" after it, "(" is plain text
        {"(a;b) X5\nX6", 5, 6},         // a ";" inside parentheses starts no comment
        {"X1 ;a (b\nc) X9\nX3", 1, 3}, // a parenthesised comment carries a ";" comment over its break
        {"X(c)5", 5, 5},                 // a comment becomes one space between letter and number
        {"X\n-7", -7, -7},
        {"X1 ;c\rX9\nX2", 1, 2},       // a ";" comment runs to "\n" only
        {"X1.5.7", 1.5, 1.5},
        {"X-.5 X+.25 X1.", -0.5, 1},
        {"X - 5 X2", 2, 2},
        {u"X\u0661 X\u00A03"_qs, 3, 3},
        {"GX4 X1M8", 1, 4},
        {"X0.1 X0.2 X0.30000000000000004", 0.1, 0.30000000000000004},
        {"X1" + QString(400, '0'), std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()}};
    for (const auto &[text, min, max] : rows) {
        EXPECT_EQ(axisRanges(text, {'X'}).value(0, AxisRange{'-', 0, 0}), (AxisRange{'X', min, max})) << visible(text);
    }
}

TEST(LargeTexts, OneHugeLineAndManyTinyBlocks)
{
    const QString huge = "G1" + QString(1'000'000, u' ') + "X1";
    EXPECT_TEXT(formatSpacing(huge), "G1 X1");
    EXPECT_EQ(renumber(huge, 10, 10), "N10 " + huge);
    EXPECT_TEXT(removeCoolant(huge + " M8"), "G1 X1");

    // Numbering many one-character blocks more than triples the text, well
    // past the room reserved up front.
    const QString tiny = QString(";\n").repeated(100'000);
    const QString numbered = addLineNumbers(tiny, 1, 1);
    EXPECT_TRUE(numbered.startsWith("N1 ;\nN2 ;\n"));
    EXPECT_TRUE(numbered.endsWith("N99999 ;\nN100000 ;\n"));
    EXPECT_EQ(numbered.count(u'\n'), 100'000);
    EXPECT_EQ(removeLineNumbers(numbered), tiny);
}
