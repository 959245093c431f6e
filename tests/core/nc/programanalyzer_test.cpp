#include "nc/programanalyzer.h"

#include <gtest/gtest.h>

#include <QSet>

namespace {

// An analysis as short lines: "X 10 20", "time 12", "T 1 01 comment", "( 2 text",
// "! 5 message", plus counts. A row's facts must appear in this order.
QStringList facts(const ProgramAnalysis &a)
{
    const auto num = [](double v) { return QString::number(v, 'g', 12); };
    const auto range = [&](const char *name, const std::optional<ProgramAnalysis::ValueRange> &r) {
        return QLatin1String(name) + (r ? u' ' + num(r->min) + u' ' + num(r->max) : QStringLiteral(" -"));
    };
    QStringList out = {QStringLiteral("lines %1").arg(a.lineCount), "O " + a.programNumber.value_or("-"),
                       "units " + a.units, QStringLiteral("tools %1").arg(a.tools.size())};
    for (const auto &t : a.tools) {
        out << QStringLiteral("T %1 %2 ").arg(t.line).arg(t.tool) + t.comment.value_or("-");
    }
    out << QStringLiteral("comments %1").arg(a.comments.size());
    for (const auto &c : a.comments) {
        out << QStringLiteral("( %1 ").arg(c.line) + c.text;
    }
    out << QStringLiteral("warnings %1").arg(a.warnings.size());
    for (const auto &w : a.warnings) {
        out << QStringLiteral("! %1 ").arg(w.line) + w.message;
    }
    out << range("S", a.sRange) << range("F", a.fRange) << range("X", a.xRange) << range("Y", a.yRange)
        << range("Z", a.zRange) << "time " + (a.estimatedSeconds ? num(*a.estimatedSeconds) : "-");
    return out;
}

// A well-formed program around the lines under test, so only their warnings remain.
QString wrapped(const QString &body)
{
    return "%\nT1 M6\nS1000 M3\n" + body + "\nM30\n%";
}

const AppLanguage en = AppLanguage::english, es = AppLanguage::spanish;
const QString kFeedless = "Cutting move with F0 or no F feed rate";

} // namespace

TEST(ProgramAnalyzer, ReadsEveryRuleAsWritten)
{
    const struct {
        QString text;
        QStringList facts;
        AppLanguage language = en;
    } rows[] = {
        // Incremental moves accumulate; time is distance over feed.
        {"G91 G1 X10 F100\nX10", {"S -", "F 100 100", "X 10 20", "Y -", "Z -", "time 12"}},
        // The feed warning comes once, at the first cutting move; rapids need no feed.
        {wrapped("G0 X5\nG1 X10\nX20\nG2 X30\nF0 X40"), {"warnings 1", "! 5 " + kFeedless}},
        {"G1 X1 F0", {"time 60"}}, // F0 cuts at the 1-per-minute floor
        // Comments are blanked before tokenising; an unclosed "(" is no comment.
        {"G1 X10 (X99)", {"X 10 10"}},
        {"G1 X10 ; X99", {"X 10 10"}},
        {"G1 X(note)12", {"X 12 12"}},
        {"G1 X10 (X99", {"X 10 99"}},
        {"(a;b) X1", {"X 1 1"}},
        // Codes are keyed by their leading digits and quoted as written.
        {wrapped("G01 X1"), {"warnings 1", "! 4 " + kFeedless}},
        {wrapped("G05.1 G28.1 M008 g3 m99 G100 M-1 G.5"),
         {"warnings 4", "! 4 Unknown G code: G05.1", "! 4 Unknown G code: G100", "! 4 Unknown M code: M-1",
          "! 4 Unknown G code: G.5"}},
        {"%\nG7.50\nM30", {"warnings 1", "! 2 " + L10n::format("Unknown G code: G%@", es, {"7.50"})}, es},
        // Tools: the number as written, a later T wins, the line's first comment.
        {"T1 M6 (FACE MILL)\nT01 T2 ; DRILL\nN5 T07(A) (B)\n(T9 in a comment)",
         {"tools 3", "T 1 1 FACE MILL", "T 2 2 DRILL", "T 3 07 A"}},
        {"T3", {"T 1 3 -"}},
        // Rapids at 8000, or 300 after G20, switched in token order; 3-D chords.
        {"G0 X8000", {"time 60"}},
        {"G20 G0 X300", {"units in", "time 60"}},
        {"G20\nG21 G0 X8000", {"units mm", "time 60"}},
        {"G1 F13 X3 Y4 Z12", {"time 60"}},
        {"G1 F100", {"time -"}},
        {"G0 X0 Y0", {"time -"}},
        {"G0 X1", {QStringLiteral("units \u2014")}},
        {"g20", {"units pulg"}, es},
        // The spindle warning needs tools and no M3/M4.
        {"%\nT1 M6\nG0 X1\nM30", {"warnings 1", "! 1 Spindle is not started (missing M03 / M04)"}},
        {"%\nG0 X1\nM30", {"warnings 0"}},
        {"%\nT1 M6\nM04\nM30", {"warnings 0"}},
        // End-of-program warnings in their order; M2 ends too; blanks before "%".
        {"T1\nG1 X1\n",
         {"lines 3", "warnings 4", "! 2 " + kFeedless, "! 1 Missing tape start marker %",
          "! 3 No program end found (M30 / M02)", "! 1 Spindle is not started (missing M03 / M04)"}},
        {QStringLiteral(" \u00A0%\nM02"), {"warnings 0"}},
        {"",
         {"lines 1", "! 1 " + L10n::text("Missing tape start marker %", es),
          "! 1 " + L10n::text("No program end found (M30 / M02)", es)},
         es},
        // Line framing: CRLF, lone CR, a final break adds an empty line.
        {"\n", {"lines 2"}},
        {"a\r\nb\rc\n\rd", {"lines 5"}},
        {"\r\n\r\n", {"lines 3"}},
        {"%\r\n(ONE)\r(TWO)\n\r\n(FOUR)", {"( 2 ONE", "( 3 TWO", "( 5 FOUR", "! 5 No program end found (M30 / M02)"}},
        // Comment lines start (after blanks) with a comment; a vertical tab is no blank.
        {QStringLiteral("(HEADER)\n  ; note  \nG1 X1 (inline)\n(a) ; b\n;x (y)\n( )\n(unclosed\n"
                        "\u2003(indented)\n\v(vertical tab is no blank)"),
         {"comments 6", "( 1 HEADER", "( 2 note", "( 4 a", "( 5 y", "( 6 ", "( 8 indented"}},
        // The program number is the first O line with digits.
        {"%\no0001 (DEMO)\nO0002", {"O O0001"}},
        {"O\nOX1\n  O12", {"O O12"}},
        {"N1 O5", {"O -"}},
        {QStringLiteral("O\u0661\u0662"), {QStringLiteral("O O\u0661\u0662")}},
        // Ranges take signed and dotted values; a number beyond a double is none.
        {"S1000 S-5 s.5\nF+.5 F1.\nX-.5 Y 7 Z\t-3\nX+2", {"S -5 1000", "F 0.5 1", "X -0.5 2", "Y 7 7", "Z -3 -3"}},
        {"X1" + QString(400, u'0'), {"X -"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        const QStringList got = facts(ProgramAnalyzer::analyze(row.text, row.language));
        qsizetype at = 0;
        for (const QString &fact : row.facts) {
            const qsizetype found = got.indexOf(fact, at);
            EXPECT_GE(found, 0) << "missing or out of order: " << fact.toStdString() << "\nin:\n"
                                << got.join(u'\n').toStdString();
            at = found < 0 ? at : found + 1;
        }
    }
}

TEST(ProgramAnalyzer, EntryIdsAreFreshRandomUuids)
{
    const ProgramAnalysis first = ProgramAnalyzer::analyze("(A)\nT1\nG5\n", en);
    const ProgramAnalysis second = ProgramAnalyzer::analyze("(A)\nT1\nG5\n", en);
    EXPECT_NE(first, second);
    QSet<QUuid> ids;
    for (const auto *a : {&first, &second}) {
        ids << a->tools[0].id << a->comments[0].id;
        for (const auto &w : a->warnings) {
            ids << w.id;
            EXPECT_EQ(w.id.version(), QUuid::Random);
        }
    }
    EXPECT_EQ(ids.size(), 2 * (1 + 1 + 4));
}

// Whole or fed in pieces of any size, the check comes at the same lines.
TEST(ProgramAnalyzer, CancellationIsAskedEvery512LinesAndStopsTheScan)
{
    const QString text = QString("G0 X1\r\n").repeated(1100); // 1101 lines: asked at 0, 512, 1024
    for (const qsizetype piece : {qsizetype(0), qsizetype(1), qsizetype(5), qsizetype(700)}) {
        for (const int stopAt : {0, 2}) {
            int asked = 0;
            const auto isCancelled = [&] { return ++asked == stopAt; };
            ProgramAnalysis a;
            if (piece == 0) {
                a = ProgramAnalyzer::analyze(text, en, isCancelled);
            } else {
                ProgramAnalyzer::Session session(en, isCancelled);
                bool going = true;
                for (qsizetype from = 0; from < text.size(); from += piece) {
                    going = session.feed(QStringView(text).mid(from, piece)) && going;
                }
                EXPECT_EQ(going, stopAt == 0);
                a = session.finish();
            }
            EXPECT_EQ(asked, stopAt == 0 ? 3 : 2) << "pieces of " << piece;
            EXPECT_EQ(a.cancelled, stopAt != 0);
            EXPECT_EQ(a.lineCount, stopAt == 0 ? 1101 : a.lineCount);
        }
    }
    EXPECT_TRUE(ProgramAnalyzer::analyze("", en, [] { return true; }).cancelled);
}

TEST(ProgramAnalysisTime, TextRoundsHalvesUpAndShowsHoursFromAnHour)
{
    const std::pair<std::optional<double>, std::optional<QString>> rows[] = {
        {754, "12:34"},     {0.4, "0:00"},        {0.5, "0:01"},         {59.5, "1:00"},
        {3599.49, "59:59"}, {3599.5, "1:00:00"},  {3725.5, "1:02:06"},   {360061, "100:01:01"},
        {std::nullopt, std::nullopt}, {0, std::nullopt}, {-5, std::nullopt},
    };
    for (const auto &[seconds, text] : rows) {
        ProgramAnalysis a;
        a.estimatedSeconds = seconds;
        EXPECT_EQ(a.estimatedTimeText(), text) << seconds.value_or(-1);
    }
}
