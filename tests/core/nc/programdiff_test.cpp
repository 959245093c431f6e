#include "nc/programdiff.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

using Options = ProgramDiff::Options;
using Segment = ProgramDiff::Segment;

// The differences as "a+aCount/b+bCount" for readable failures.
QStringList hunksOf(const QByteArray &a, const QByteArray &b, const Options &options)
{
    QStringList out;
    for (const Segment &h : ProgramDiff::compare(a, b, options).hunks()) {
        out << QStringLiteral("%1+%2/%3+%4").arg(h.a).arg(h.aCount).arg(h.b).arg(h.bCount);
    }
    return out;
}

Options numeric(double tolerance = 0)
{
    return {true, tolerance, false, false};
}

} // namespace

TEST(ProgramDiff, KnownPairsGiveTheirDifferencesUnderEachOption)
{
    const Options ignoreN{false, 0, true, false};
    const Options ignoreComments{false, 0, false, true};
    struct Case {
        const char *a;
        const char *b;
        Options options;
        QStringList hunks;
    } cases[] = {
        {"", "", {}, {}},
        {"G0 X0\nG1 X1\nM30\n", "G0 X0\nG1 X1\nM30\n", {}, {}},
        {"G0 X0\r\nM30\r\n", "G0 X0\nM30", {}, {}}, // line ends are not blocks
        {"G0 X0\nG1 X1\nM30\n", "G0 X0\nG1 X2\nM30\n", {}, {"1+1/1+1"}},
        {"G0 X0\nM30\n", "G0 X0\nG4 P1\nM30\n", {}, {"1+0/1+1"}},
        {"%\nG0 X0\nM30\n", "G0 X0\nM30\n", {}, {"0+1/0+0"}},
        {"", "G0\n", {}, {"0+0/0+1"}},
        // Numbers by value, only when asked.
        {"X1.", "X1.0", {}, {"0+1/0+1"}},
        {"X1. Y-0 Z.5 G01 F+200.", "X1.000 Y0 Z0.50 G1 F200", numeric(), {}},
        {"X-1.5", "X1.5", numeric(), {"0+1/0+1"}},
        {"X1", "X10", numeric(), {"0+1/0+1"}},
        {"#1=#2-1.0", "#1=#2-1", numeric(), {}},
        {"(X1.0)", "(X1)", numeric(), {"0+1/0+1"}}, // comment text stays text
        // Tolerance: inclusive, and it implies numbers by value.
        {"X1.00 Y2", "X1.005 Y2.", {false, 0.01, false, false}, {}},
        {"X1.0", "X1.1", {false, 0.1, false, false}, {}},
        {"X1.00", "X1.02", {false, 0.01, false, false}, {"0+1/0+1"}},
        {"X1 Y1", "X1 Z1", {false, 0.5, false, false}, {"0+1/0+1"}},
        // N numbers.
        {"N10 G0\nN20 M30", "N110 G0\nM30", {}, {"0+2/0+2"}},
        {"N10 G0\nN20 M30", "N110 G0\nM30", ignoreN, {}},
        {"/N10 G0", "/ N20 G0", ignoreN, {}},
        {"N10 G0", "N10 G1", ignoreN, {"0+1/0+1"}},
        // Blanks and comments, and blocks made only of them.
        {"G0 X1 (A)\nM30", "G0X1(B)\n\n(NOTE)\nM30 ; end", ignoreComments, {}},
        {"G0 X1\n(OLD)\nG1 X2\nM30", "G0 X1\n(NEW)\nG1 X3\nM30", ignoreComments, {"1+2/1+2"}}, // the differing comment sits between the same blocks
        {"G0 X1 (A)", "G0 X1 (B)", {}, {"0+1/0+1"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.a) + " | " + c.b);
        EXPECT_EQ(hunksOf(c.a, c.b, c.options), c.hunks);
    }
}

TEST(ProgramDiff, IgnoredBlocksFormSegmentsOfTheirOwnAndTheSegmentsCoverBothPrograms)
{
    const ProgramDiff::Result result =
        ProgramDiff::compare("G0\nG1 X1\nM30\n", "G0\n\n(SAFE)\nG1 X1\nM30\n", {false, 0, false, true});
    using K = Segment::Kind;
    const QList<Segment> expected = {{K::same, 0, 1, 0, 1}, {K::ignored, 1, 0, 1, 2}, {K::same, 1, 2, 3, 2}};
    EXPECT_EQ(result.segments, expected);
    EXPECT_TRUE(result.equal());
    EXPECT_EQ(result.facingLine(2, true), 4);
    EXPECT_EQ(result.facingLine(2, false), 1);
}

TEST(ProgramDiff, UnifiedTextMatchesDiffUWithSeparateAndMergedHunks)
{
    const auto lines = [](std::initializer_list<const char *> changed, int count) {
        QByteArray out;
        for (int i = 1; i <= count; ++i) {
            QByteArray line = "L" + QByteArray::number(i);
            for (const char *c : changed) {
                if (QByteArray(c).mid(1) == QByteArray::number(i)) {
                    line = c;
                }
            }
            out += line + '\n';
        }
        return out;
    };
    const QByteArray a = lines({}, 14);
    struct Case {
        QByteArray a, b, hunks;
    } cases[] = {
        {a, lines({"X2", "Y12"}, 15),
         "@@ -1,5 +1,5 @@\n L1\n-L2\n+X2\n L3\n L4\n L5\n@@ -9,6 +9,7 @@\n L9\n L10\n L11\n-L12\n+Y12\n L13\n L14\n+L15\n"},
        {a, lines({"X2", "Z8", "Y12"}, 15),
         "@@ -1,14 +1,15 @@\n L1\n-L2\n+X2\n L3\n L4\n L5\n L6\n L7\n-L8\n+Z8\n L9\n L10\n L11\n-L12\n+Y12\n L13\n "
         "L14\n+L15\n"},
        {"", "G0\n", "@@ -0,0 +1 @@\n+G0\n"},
        {"G0\n", "", "@@ -1 +0,0 @@\n-G0\n"},
        {"G1 X1.\r\n", "G1 X1.0\n", ""},
    };
    for (const Case &c : cases) {
        const ProgramDiff::Result result = ProgramDiff::compare(c.a, c.b, numeric());
        const QByteArray text = ProgramDiff::unified(c.a, c.b, result, "a.nc", "b.nc");
        EXPECT_EQ(text, c.hunks.isEmpty() ? QByteArray() : "--- a.nc\n+++ b.nc\n" + c.hunks);
    }
}

// The edit script must be a shortest one: checked against the length of a
// longest common subsequence on many small random pairs, where repeated
// blocks make wrong snakes likely.
TEST(ProgramDiff, EditScriptsAreShortestAndRebuildTheSecondProgram)
{
    std::mt19937 rng(13);
    for (int round = 0; round < 400; ++round) {
        std::uniform_int_distribution<int> length(0, 24), symbol(0, 3);
        std::vector<int> x(static_cast<size_t>(length(rng))), y(static_cast<size_t>(length(rng)));
        QByteArray a, b;
        for (int &v : x) {
            a += "G" + QByteArray::number(v = symbol(rng)) + '\n';
        }
        for (int &v : y) {
            b += "G" + QByteArray::number(v = symbol(rng)) + '\n';
        }
        std::vector<std::vector<int>> lcs(x.size() + 1, std::vector<int>(y.size() + 1, 0));
        for (size_t i = x.size(); i-- > 0;) {
            for (size_t j = y.size(); j-- > 0;) {
                lcs[i][j] = x[i] == y[j] ? lcs[i + 1][j + 1] + 1 : std::max(lcs[i + 1][j], lcs[i][j + 1]);
            }
        }
        const ProgramDiff::Result result = ProgramDiff::compare(a, b, {});
        qsizetype edits = 0;
        QByteArray rebuilt;
        const QList<QByteArray> linesA = a.split('\n'), linesB = b.split('\n');
        for (const Segment &s : result.segments) {
            ASSERT_NE(s.kind, Segment::Kind::ignored);
            for (qsizetype i = 0; i < s.bCount; ++i) {
                if (s.kind == Segment::Kind::same) {
                    ASSERT_EQ(linesA[s.a + i], linesB[s.b + i]);
                }
                rebuilt += linesB[s.b + i] + '\n';
            }
            edits += s.kind == Segment::Kind::changed ? s.aCount + s.bCount : 0;
        }
        ASSERT_EQ(rebuilt, b) << a.constData() << "|" << b.constData();
        ASSERT_EQ(edits, qsizetype(x.size() + y.size()) - 2 * lcs[0][0]) << a.constData() << "|" << b.constData();
    }
}
