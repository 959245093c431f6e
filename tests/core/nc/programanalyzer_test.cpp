#include "nc/programanalyzer.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

using Range = ProgramAnalysis::ValueRange;

ProgramAnalysis analyze(const QString &text, AppLanguage language = AppLanguage::english)
{
    return ProgramAnalyzer::analyze(text, language);
}

QStringList messages(const ProgramAnalysis &analysis)
{
    QStringList out;
    for (const auto &warning : analysis.warnings) {
        out.append(QString::number(warning.line) + u' ' + warning.message);
    }
    return out;
}

// A complete, well-formed program wraps the lines under test so that only the
// warnings they cause remain.
QString wrapped(const QString &body)
{
    return QStringLiteral("%\nT1 M6\nS1000 M3\n") + body + QStringLiteral("\nM30\n%");
}

} // namespace

TEST(ProgramAnalyzer, IncrementalMovesAccumulateAndTimeFollowsTheFeed)
{
    const ProgramAnalysis a = analyze("G91 G1 X10 F100\nX10");
    EXPECT_EQ(a.xRange, (Range{10, 20}));
    ASSERT_TRUE(a.estimatedSeconds);
    EXPECT_DOUBLE_EQ(*a.estimatedSeconds, 12.0); // (10 + 10) / 100 * 60
    EXPECT_EQ(a.fRange, (Range{100, 100}));
    EXPECT_FALSE(a.yRange);
    EXPECT_FALSE(a.zRange);
    EXPECT_FALSE(a.sRange);
}

TEST(ProgramAnalyzer, CuttingWithoutFeedWarnsOnceAtTheFirstSuchMove)
{
    const ProgramAnalysis a = analyze(wrapped("G0 X5\nG1 X10\nX20\nG2 X30\nF0 X40"));
    EXPECT_EQ(messages(a), QStringList{"5 Cutting move with F0 or no F feed rate"});
    // Rapid moves without a feed are fine, and a feed of 0 still cuts at the 1-per-minute floor.
    const ProgramAnalysis floor = analyze("G1 X1 F0");
    EXPECT_DOUBLE_EQ(*floor.estimatedSeconds, 60.0);
}

TEST(ProgramAnalyzer, CommentsAreBlankedBeforeTokenising)
{
    EXPECT_EQ(analyze("G1 X10 (X99)").xRange, (Range{10, 10}));
    EXPECT_EQ(analyze("G1 X10 ; X99").xRange, (Range{10, 10}));
    // A blanked comment is a blank, so the letter still finds its number.
    EXPECT_EQ(analyze("G1 X(note)12").xRange, (Range{12, 12}));
    // An unclosed parenthesis is no comment: what follows it still counts.
    EXPECT_EQ(analyze("G1 X10 (X99").xRange, (Range{10, 99}));
    // A ";" inside a closed comment does not cut the line.
    EXPECT_EQ(analyze("(a;b) X1").xRange, (Range{1, 1}));
}

TEST(ProgramAnalyzer, CodesAreKeyedByTheirLeadingDigits)
{
    // G01 sets the same cutting mode as G1, so the missing feed is noticed.
    EXPECT_EQ(messages(analyze(wrapped("G01 X1"))), QStringList{"4 Cutting move with F0 or no F feed rate"});
    EXPECT_EQ(messages(analyze(wrapped("G05.1 G28.1 M008 g3 m99 G100 M-1 G.5"))),
              (QStringList{"4 Unknown G code: G05.1", "4 Unknown G code: G100", "4 Unknown M code: M-1",
                           "4 Unknown G code: G.5"}));
    // The unknown value is quoted as written, in the interface language.
    const ProgramAnalysis spanish = analyze("%\nG7.50\nM30", AppLanguage::spanish);
    ASSERT_EQ(spanish.warnings.size(), 1);
    EXPECT_EQ(spanish.warnings[0].message, L10n::format("Unknown G code: G%@", AppLanguage::spanish, {"7.50"}));
}

TEST(ProgramAnalyzer, ToolEntriesCarryTheNumberAsWrittenAndTheFirstComment)
{
    const ProgramAnalysis a = analyze("T1 M6 (FACE MILL)\nT01 T2 ; DRILL\nN5 T07(A) (B)\n(T9 in a comment)");
    ASSERT_EQ(a.tools.size(), 3);
    EXPECT_EQ(a.tools[0].line, 1);
    EXPECT_EQ(a.tools[0].tool, "1");
    EXPECT_EQ(a.tools[0].comment, "FACE MILL");
    EXPECT_EQ(a.tools[1].tool, "2"); // a later T on the line replaces the first
    EXPECT_EQ(a.tools[1].comment, "DRILL");
    EXPECT_EQ(a.tools[2].tool, "07");
    EXPECT_EQ(a.tools[2].comment, "A");
    EXPECT_EQ(analyze("T3").tools[0].comment, std::nullopt);
}

TEST(ProgramAnalyzer, RapidRateFollowsTheUnitsInTokenOrder)
{
    EXPECT_DOUBLE_EQ(*analyze("G0 X8000").estimatedSeconds, 60.0);
    EXPECT_DOUBLE_EQ(*analyze("G20 G0 X300").estimatedSeconds, 60.0);
    EXPECT_DOUBLE_EQ(*analyze("G20\nG21 G0 X8000").estimatedSeconds, 60.0);
    // 3-D chord: a 3-4-12 move is 13 long.
    EXPECT_DOUBLE_EQ(*analyze("G1 F13 X3 Y4 Z12").estimatedSeconds, 60.0);
    EXPECT_EQ(analyze("G1 F100").estimatedSeconds, std::nullopt);
    EXPECT_EQ(analyze("G0 X0 Y0").estimatedSeconds, std::nullopt); // no distance, no estimate
}

TEST(ProgramAnalyzer, UnitsStartAsADashAndTakeTheInchWordOfTheLanguage)
{
    EXPECT_EQ(analyze("G0 X1").units, QStringLiteral("\u2014"));
    EXPECT_EQ(analyze("G20").units, "in");
    EXPECT_EQ(analyze("g20", AppLanguage::spanish).units, "pulg");
    EXPECT_EQ(analyze("G20 G21").units, "mm");
}

TEST(ProgramAnalyzer, SpindleWarningNeedsToolsAndNoM3OrM4)
{
    const QString noSpindle = "%\nT1 M6\nG0 X1\nM30";
    EXPECT_EQ(messages(analyze(noSpindle)), QStringList{"1 Spindle is not started (missing M03 / M04)"});
    EXPECT_TRUE(messages(analyze("%\nG0 X1\nM30")).isEmpty());
    EXPECT_TRUE(messages(analyze("%\nT1 M6\nM04\nM30")).isEmpty());
}

TEST(ProgramAnalyzer, EndOfProgramWarningsComeInTheirOrder)
{
    const ProgramAnalysis a = analyze("T1\nG1 X1\n");
    EXPECT_EQ(a.lineCount, 3);
    EXPECT_EQ(messages(a), (QStringList{"2 Cutting move with F0 or no F feed rate", "1 Missing tape start marker %",
                                        "3 No program end found (M30 / M02)",
                                        "1 Spindle is not started (missing M03 / M04)"}));
    // M2 ends a program as well as M30, and blanks before the "%" do not matter.
    EXPECT_TRUE(messages(analyze(" \u00A0%\nM02")).isEmpty());
    const ProgramAnalysis spanish = analyze("", AppLanguage::spanish);
    EXPECT_EQ(spanish.warnings[0].message, L10n::text("Missing tape start marker %", AppLanguage::spanish));
    EXPECT_EQ(spanish.warnings[1].message, L10n::text("No program end found (M30 / M02)", AppLanguage::spanish));
}

TEST(ProgramAnalyzer, LineFramingTakesCrLfAndLoneCr)
{
    EXPECT_EQ(analyze("").lineCount, 1);
    EXPECT_EQ(analyze("\n").lineCount, 2);
    EXPECT_EQ(analyze("a\r\nb\rc\n\rd").lineCount, 5);
    EXPECT_EQ(analyze("\r\n\r\n").lineCount, 3);
    const ProgramAnalysis a = analyze("%\r\n(ONE)\r(TWO)\n\r\n(FOUR)");
    ASSERT_EQ(a.comments.size(), 3);
    EXPECT_EQ(a.comments[0].line, 2);
    EXPECT_EQ(a.comments[1].line, 3);
    EXPECT_EQ(a.comments[2].line, 5);
    EXPECT_EQ(a.warnings.last().line, 5); // the program end is missing on the last line
}

TEST(ProgramAnalyzer, CommentLinesAreThoseThatStartWithAComment)
{
    const ProgramAnalysis a = analyze("(HEADER)\n  ; note  \nG1 X1 (inline)\n(a) ; b\n;x (y)\n( )\n(unclosed\n"
                                      "\u2003(indented)\n\v(vertical tab is no blank)");
    QStringList texts;
    for (const auto &comment : a.comments) {
        texts.append(QString::number(comment.line) + u':' + comment.text);
    }
    EXPECT_EQ(texts, (QStringList{"1:HEADER", "2:note", "4:a", "5:y", "6:", "8:indented"}));
}

TEST(ProgramAnalyzer, ProgramNumberIsTheFirstOLineWithDigits)
{
    EXPECT_EQ(analyze("%\no0001 (DEMO)\nO0002").programNumber, "O0001");
    EXPECT_EQ(analyze("O\nOX1\n  O12").programNumber, "O12");
    EXPECT_EQ(analyze("N1 O5").programNumber, std::nullopt);
    EXPECT_EQ(analyze("O\u0661\u0662").programNumber, QStringLiteral("O\u0661\u0662"));
}

TEST(ProgramAnalyzer, RangesTakeEveryValueAndOddNumbers)
{
    const ProgramAnalysis a = analyze("S1000 S-5 s.5\nF+.5 F1.\nX-.5 Y 7 Z\t-3\nX+2");
    EXPECT_EQ(a.sRange, (Range{-5, 1000}));
    EXPECT_EQ(a.fRange, (Range{0.5, 1}));
    EXPECT_EQ(a.xRange, (Range{-0.5, 2}));
    EXPECT_EQ(a.yRange, (Range{7, 7}));
    EXPECT_EQ(a.zRange, (Range{-3, -3}));
    // A number too large for a double is no value at all.
    EXPECT_FALSE(analyze(QLatin1String("X1") + QString(400, u'0')).xRange);
}

TEST(ProgramAnalyzer, EntryIdsAreFreshForEveryAnalysis)
{
    const QString text = "(A)\nT1\nG5\n";
    const ProgramAnalysis first = analyze(text);
    const ProgramAnalysis second = analyze(text);
    EXPECT_NE(first, second);
    QSet<QUuid> ids;
    for (const auto *analysis : {&first, &second}) {
        for (const auto &entry : analysis->tools) {
            ids.insert(entry.id);
        }
        for (const auto &entry : analysis->comments) {
            ids.insert(entry.id);
        }
        for (const auto &entry : analysis->warnings) {
            ids.insert(entry.id);
            EXPECT_EQ(entry.id.version(), QUuid::Random);
            EXPECT_EQ(entry.id.variant(), QUuid::DCE);
        }
    }
    EXPECT_EQ(ids.size(), 2 * (1 + 1 + 4));
}

TEST(ProgramAnalyzer, CancellationIsAskedEvery512LinesAndStopsTheScan)
{
    const QString text = QString("G0 X1\n").repeated(1100); // 1101 lines: indices 0, 512, 1024
    int asked = 0;
    const ProgramAnalysis whole = ProgramAnalyzer::analyze(text, AppLanguage::english, [&] {
        ++asked;
        return false;
    });
    EXPECT_EQ(asked, 3);
    EXPECT_FALSE(whole.cancelled);
    EXPECT_EQ(whole.lineCount, 1101);

    asked = 0;
    const ProgramAnalysis stopped = ProgramAnalyzer::analyze(text, AppLanguage::english, [&] { return ++asked == 2; });
    EXPECT_TRUE(stopped.cancelled);
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(ProgramAnalyzer::analyze("", AppLanguage::english, [] { return true; }).cancelled);
}

TEST(ProgramAnalysisTime, TextRoundsHalvesUpAndShowsHoursFromAnHour)
{
    const auto text = [](std::optional<double> seconds) {
        ProgramAnalysis a;
        a.estimatedSeconds = seconds;
        return a.estimatedTimeText();
    };
    EXPECT_EQ(text(754), "12:34");
    EXPECT_EQ(text(0.4), "0:00");
    EXPECT_EQ(text(0.5), "0:01");
    EXPECT_EQ(text(59.5), "1:00");
    EXPECT_EQ(text(3599.49), "59:59");
    EXPECT_EQ(text(3599.5), "1:00:00");
    EXPECT_EQ(text(3725.5), "1:02:06");
    EXPECT_EQ(text(36000 * 10 + 61), "100:01:01");
    EXPECT_EQ(text(std::nullopt), std::nullopt);
    EXPECT_EQ(text(0), std::nullopt);
    EXPECT_EQ(text(-5), std::nullopt);
}
