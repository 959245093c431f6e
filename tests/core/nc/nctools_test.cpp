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

TEST(LineFraming, CrLfInputStaysCrLfThroughout)
{
    EXPECT_TEXT(renumber("N5 G0 X0\r\nG1 X10\r\nM30", 10, 10), "N10 G0 X0\r\nN20 G1 X10\r\nN30 M30");
    // One CRLF anywhere makes every break CRLF, lone CRs included.
    EXPECT_TEXT(renumber("G0\nG1\r\nG2\rG3", 1, 1), "N1 G0\r\nN2 G1\r\nN3 G2\r\nN4 G3");
    EXPECT_TEXT(formatSpacing("A\r\r\nB"), "A\r\n\r\nB");
}

TEST(LineFraming, LoneCrBecomesLfWithoutAnyCrLf)
{
    EXPECT_TEXT(removeLineNumbers("N1 G0\rN2 G1\r"), "G0\nG1\n");
    EXPECT_TEXT(formatSpacing("A\n\rB"), "A\n\nB");
}

TEST(LineFraming, EmptyTextAndFinalBreakSurviveEveryLineTool)
{
    EXPECT_TEXT(renumber("", 10, 10), "");
    EXPECT_TEXT(addLineNumbers("", 10, 10), "");
    EXPECT_TEXT(removeLineNumbers(""), "");
    EXPECT_TEXT(formatSpacing(""), "");
    EXPECT_TEXT(removeCoolant(""), "");
    EXPECT_TEXT(removeMCodes("", {8}), "");

    EXPECT_TEXT(renumber("G0\n", 10, 10), "N10 G0\n");
    EXPECT_TEXT(formatSpacing("G0  X1\n"), "G0 X1\n");
    EXPECT_TEXT(removeCoolant("G0 M8\r\n"), "G0\r\n");
    EXPECT_TEXT(renumber("G0\n\n", 10, 10), "N10 G0\n\n");
}

TEST(ProtectedLines, PassUntouchedThroughNumberingAndSpacing)
{
    const QString text = "%\n(comment  here)\nO1000\no2000  \n\n   \n\u3000\u00A0\n  (indented)  \n;comment\n/G1";
    EXPECT_TEXT(renumber(text, 10, 10), "%\n(comment  here)\nO1000\no2000  \n\n   \n\u3000\u00A0\n  (indented)  \n"
                                        "N10 ;comment\nN20 /G1");
    EXPECT_TEXT(addLineNumbers(text, 10, 10), "%\n(comment  here)\nO1000\no2000  \n\n   \n\u3000\u00A0\n"
                                              "  (indented)  \nN10 ;comment\nN20 /G1");
    EXPECT_TEXT(removeLineNumbers("%N10\n(N10)\nO1 N10\n  \nN10 G1"), "%N10\n(N10)\nO1 N10\n  \nG1");
    EXPECT_TEXT(formatSpacing(text), "%\n(comment  here)\nO1000\no2000  \n\n   \n\u3000\u00A0\n  (indented)  \n"
                                     ";comment\n/G1");
}

TEST(Renumber, TrimsTheRestAndKeepsTheSpaceWhenNothingFollows)
{
    EXPECT_TEXT(renumber("N10", 100, 5), "N100 ");
    EXPECT_TEXT(renumber("  n7  G1  X1  \t", 10, 10), "N10 G1  X1");
    EXPECT_TEXT(renumber("N10G1", 10, 10), "N10 G1");
    // "N" without digits is no N word; it stays as text behind the new one.
    EXPECT_TEXT(renumber("N", 10, 10), "N10 N");
    EXPECT_TEXT(renumber("N X1", 10, 10), "N10 N X1");
}

TEST(Renumber, UnicodeBlanksAndForeignDigits)
{
    EXPECT_TEXT(renumber("\u00A0N20\u2003G1\u3000", 10, 10), "N10 G1");
    // Form feed is white space for the N word but not trimmed as a blank.
    EXPECT_TEXT(renumber("\fN5 G1", 10, 10), "N10 G1");
    EXPECT_TEXT(renumber("\fG1", 10, 10), "N10 \fG1");
    // Arabic-Indic digits are not [0-9]: no N word here.
    EXPECT_TEXT(renumber(u"N\u0661\u0662 G1"_qs, 10, 10), u"N10 N\u0661\u0662 G1"_qs);
}

TEST(Renumber, NegativeAndLargestCounters)
{
    EXPECT_TEXT(renumber("G0\nG1", -5, -10), "N-5 G0\nN-15 G1");
    // The counter advances after every block, the last one included, so the
    // largest N is only reachable with a step that keeps it there.
    EXPECT_TEXT(renumber("G0\nG1", kMax - 2, 1), "N9223372036854775805 G0\nN9223372036854775806 G1");
    EXPECT_TEXT(renumber("G0\nG1", kMax, 0), "N9223372036854775807 G0\nN9223372036854775807 G1");
    EXPECT_TEXT(renumber("G0", kMin, 0), "N-9223372036854775808 G0");
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

TEST(AddLineNumbers, NumbersOnlyBlocksWithoutAnNWord)
{
    // Existing numbers are kept verbatim and not consulted: duplicates are fine.
    EXPECT_TEXT(addLineNumbers("G0\n  n10   G1  \nG2", 10, 10), "N10 G0\n  n10   G1  \nN20 G2");
    EXPECT_TEXT(addLineNumbers("  G0  X1 \t", 1, 1), "N1 G0  X1");
    EXPECT_TEXT(addLineNumbers("N\nNX", 1, 1), "N1 N\nN2 NX");
}

TEST(RemoveLineNumbers, StripsTheLeadingWordOnly)
{
    EXPECT_TEXT(removeLineNumbers("N10 G0  \nN20\n  n30 \t X1\nN40G1\nG1 N50\nN"), "G0  \n\nX1\nG1\nG1 N50\nN");
    EXPECT_TEXT(removeLineNumbers("\u2003N10\u00A0X1"), "X1");
}

TEST(FormatSpacing, TrimsAndCollapsesBlankRuns)
{
    EXPECT_TEXT(formatSpacing("N10   G0    X0   Y0"), "N10 G0 X0 Y0");
    EXPECT_TEXT(formatSpacing("  G1\tX1  \t Y2 \t"), "G1\tX1 Y2");
    // Only spaces and tabs collapse; other Unicode blanks are trimmed at the ends only.
    EXPECT_TEXT(formatSpacing("\u3000G1\u00A0\u00A0X1\u3000"), "G1\u00A0\u00A0X1");
}

TEST(RemoveCoolant, DropsLinesLeftWithOnlyAnNumber)
{
    // A bare N line goes even though nothing matched in it.
    EXPECT_TEXT(removeCoolant("G0\nN10\nG1"), "G0\nG1");
    EXPECT_TEXT(removeCoolant("N10"), "");
    EXPECT_TEXT(removeCoolant("M8\n"), "");
    EXPECT_TEXT(removeCoolant("N60 M08\u00A0"), "");
}

TEST(RemoveCoolant, MatchesM8WithZerosOnlyAsAWholeCode)
{
    EXPECT_TEXT(removeCoolant("M80 M18 M88 m8 M008 m08 X1"), "M80 M18 M88 X1");
    EXPECT_TEXT(removeCoolant("X1M8 G1"), "X1M8 G1");
    // The second M8 follows the first one's digit in the original text.
    EXPECT_TEXT(removeCoolant("M8M8"), "M8");
    EXPECT_TEXT(removeCoolant("G1 M8X1"), "G1 X1");
    EXPECT_TEXT(removeCoolant(u"M\u0668 M8\u0661"_qs), u"M\u0668 \u0661"_qs);
}

TEST(RemoveCoolant, ProcessesEveryLineIncludingComments)
{
    EXPECT_TEXT(removeCoolant("%\n(M8 ON)\nO1 M8\n   \n\t\n"), "%\n( ON)\nO1\n\n\n");
    // Every kept line is tidied, whether or not a code was removed from it.
    EXPECT_TEXT(removeCoolant("  G1    X1 \t "), " G1 X1");
    // "$" also matches before a final line separator, so the blank before it goes.
    EXPECT_TEXT(removeCoolant("G1 M8 \u2028"), "G1\u2028");
    EXPECT_TEXT(removeCoolant("G1 \u2028 "), "G1 \u2028");
    EXPECT_TEXT(removeCoolant("G1 \v"), "G1\v");
}

TEST(RemoveMCodes, RemovesTheChosenCodes)
{
    EXPECT_TEXT(removeMCodes("N20 M09\nM89 M80", {9, 8, 9}), "M89 M80");
    EXPECT_TEXT(removeMCodes("M00 M000 M0 M01 M10 M0X", {0}), " M01 M10 X");
    EXPECT_TEXT(removeMCodes("M3 M03 M30 M300 M003", {3, 30}), " M300");
}

TEST(RemoveMCodes, EmptyListChangesNothingAtAll)
{
    const QString text = "N10\nG1    X1   \r\nM8";
    EXPECT_EQ(removeMCodes(text, {}), text);
}

TEST(RemoveMCodes, NegativeAndExtremeCodes)
{
    EXPECT_TEXT(removeMCodes("M-5 G1\nM00-5 G2\nM-50 G3\nM-05 G4", {-5}), " G1\n G2\nM-50 G3\nM-05 G4");
    // With code 0 as well, zeros before a "-" that spells no code still match.
    EXPECT_TEXT(removeMCodes("M0-7 G1", {-5, 0}), "-7 G1");
    EXPECT_TEXT(removeMCodes("M9223372036854775807 M9223372036854775808", {kMax}), " M9223372036854775808");
    EXPECT_TEXT(removeMCodes("M-9223372036854775808 G1", {kMin}), " G1");
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

TEST(Scale, KeepsDecimalsCaseAndEverythingElse)
{
    EXPECT_TEXT(scaleFeed("F.5 f12.5 F1.5.5 F FF10 F-5", 3), "F1.5 f37.5 F4.5.5 F FF30 F-5");
    // Line breaks are not framed: lone CRs stay as they are.
    EXPECT_TEXT(scaleFeed("F10\rF20\r\nF30\n", 2), "F20\rF40\r\nF60\n");
    // Comments and words glued to other letters are scaled too.
    EXPECT_TEXT(scaleSpindle("(TOOLS5) S100 s2", 2), "(TOOLS10) S200 s4");
    EXPECT_TEXT(scaleFeed("OFFSET F\u0661\u0662 F12", 2), "OFFSET F\u0661\u0662 F24");
}

TEST(Scale, RoundsIntegersHalfAwayFromZero)
{
    EXPECT_TEXT(scaleFeed("F5 F1 F3", 0.5), "F3 F1 F2");
    EXPECT_TEXT(scaleSpindle("S5 S1", -0.5), "S-3 S-1");
    EXPECT_TEXT(scaleFeed("F1", 0.4), "F0");
    EXPECT_TEXT(scaleFeed("F1", -0.4), "F0");
    EXPECT_TEXT(scaleFeed("F0.4", -0.1), "F-0.0");
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

TEST(FormatLikeOriginal, DecimalsFollowTheOriginal)
{
    EXPECT_TEXT(formatLikeOriginal(2.46912, "1.23456"), "2.4691");
    EXPECT_TEXT(formatLikeOriginal(1.5, ".5"), "1.5");
    EXPECT_TEXT(formatLikeOriginal(405, "450."), "405.0");
    EXPECT_TEXT(formatLikeOriginal(3, "1.00"), "3.00");
    EXPECT_TEXT(formatLikeOriginal(0.125, "0.10"), "0.12");
    EXPECT_TEXT(formatLikeOriginal(1e20, "1.5"), "100000000000000000000.0");
}

TEST(FormatLikeOriginal, IntegersRoundHalfAwayFromZero)
{
    EXPECT_TEXT(formatLikeOriginal(2.5, "5"), "3");
    EXPECT_TEXT(formatLikeOriginal(-2.5, "5"), "-3");
    EXPECT_TEXT(formatLikeOriginal(-0.4, "1"), "0");
    EXPECT_TEXT(formatLikeOriginal(9.2e18, "1"), "9200000000000000000");
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

TEST(AxisRanges, CommentEdgeCases)
{
    auto xRange = [](const QString &text) { return axisRanges(text, {'X'}).value(0, AxisRange{'-', 0, 0}); };
    // An unclosed "(" reaches the next ")" on a later line.
    EXPECT_EQ(xRange("X1 (start\nX50) X2"), (AxisRange{'X', 1, 2}));
    // With no ")" anywhere after it, "(" is plain text.
    EXPECT_EQ(xRange("X1 (X50"), (AxisRange{'X', 1, 50}));
    // A ";" inside parentheses starts no comment.
    EXPECT_EQ(xRange("(a;b) X5\nX6"), (AxisRange{'X', 5, 6}));
    // A parenthesised comment carries a ";" comment over its line break.
    EXPECT_EQ(xRange("X1 ;a (b\nc) X9\nX3"), (AxisRange{'X', 1, 3}));
    // A comment becomes one space, which may sit between letter and number.
    EXPECT_EQ(xRange("X(c)5"), (AxisRange{'X', 5, 5}));
    EXPECT_EQ(xRange("X\n-7"), (AxisRange{'X', -7, -7}));
    // A ";" comment runs to "\n" only, so a lone CR does not end it.
    EXPECT_EQ(xRange("X1 ;c\rX9\nX2"), (AxisRange{'X', 1, 2}));
}

TEST(AxisRanges, NumberForms)
{
    auto xRange = [](const QString &text) { return axisRanges(text, {'X'}).value(0, AxisRange{'-', 0, 0}); };
    EXPECT_EQ(xRange("X1.5.7"), (AxisRange{'X', 1.5, 1.5}));
    EXPECT_EQ(xRange("X-.5 X+.25 X1."), (AxisRange{'X', -0.5, 1}));
    EXPECT_EQ(xRange("X - 5 X2"), (AxisRange{'X', 2, 2}));
    EXPECT_EQ(xRange(u"X\u0661 X\u00A03"_qs), (AxisRange{'X', 3, 3}));
    EXPECT_EQ(xRange("GX4 X1M8"), (AxisRange{'X', 1, 4}));
    EXPECT_EQ(xRange("X0.1 X0.2 X0.30000000000000004"), (AxisRange{'X', 0.1, 0.30000000000000004}));
    const AxisRange huge = xRange("X1" + QString(400, '0'));
    EXPECT_EQ(huge.max, std::numeric_limits<double>::infinity());
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
