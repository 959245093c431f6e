// Whole small programs against lengths, bounds and warnings worked out by hand.
#include "toolpath/toolpathinterpreter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

constexpr double pi = std::numbers::pi;

struct Case {
    const char *name;
    const char *program;
    std::array<long long, 4> moves; // rapid, feed, arc, cycle
    double rapidLength;
    double feedLength;
    std::vector<int> warningLines;
    std::optional<std::array<double, 6>> feedBounds = {}; // min x y z, max x y z
    bool lathe = false;
    int endLine = 0; // 0: not checked
};

void expectNear(double expected, double actual, const char *what)
{
    EXPECT_NEAR(expected, actual, 1e-9 * std::max(1.0, std::abs(expected))) << what;
}

void check(const Case &c)
{
    SCOPED_TRACE(c.name);
    const ToolpathSummary s =
        ToolpathInterpreter::interpret(QString::fromUtf8(c.program), {c.lathe}, AppLanguage::english);
    EXPECT_EQ(c.moves, (std::array<long long, 4>{s.rapidMoves, s.feedMoves, s.arcMoves, s.cycleHoles}));
    expectNear(c.rapidLength, s.rapidLength, "rapid length");
    expectNear(c.feedLength, s.feedLength, "feed length");
    std::vector<int> lines;
    for (const ToolpathWarning &w : s.warnings)
        lines.push_back(w.line);
    EXPECT_EQ(c.warningLines, lines);
    if (c.feedBounds) {
        ASSERT_TRUE(s.feedBounds.has_value());
        for (int axis = 0; axis < 3; ++axis) {
            expectNear((*c.feedBounds)[axis], s.feedBounds->min[axis], "feed min");
            expectNear((*c.feedBounds)[axis + 3], s.feedBounds->max[axis], "feed max");
        }
    }
    if (c.endLine)
        EXPECT_EQ(c.endLine, s.endLine);
}

using B = std::array<double, 6>;

TEST(ToolpathInterpreter, ArcsInEveryPlane)
{
    const Case cases[] = {
        {"XY quarter ccw", "G1 X10 F100\nG3 X0 Y10 I-10 J0\n", {0, 1, 1, 0}, 0, 10 + 5 * pi, {}, B{0, 0, 0, 10, 10, 0}},
        {"XY half cw", "G1 X10\nG2 X-10 Y0 I-10\n", {0, 1, 1, 0}, 0, 10 + 10 * pi, {}, B{-10, -10, 0, 10, 0, 0}},
        {"XY three quarters ccw", "G1 X10\nG3 X0 Y-10 I-10\n", {0, 1, 1, 0}, 0, 10 + 15 * pi, {}, B{-10, -10, 0, 10, 10, 0}},
        {"XY full circle from a centre word", "G1 X10\nG2 I-10\n", {0, 1, 1, 0}, 0, 10 + 20 * pi, {}, B{-10, -10, 0, 10, 10, 0}},
        {"R positive takes the short way", "G1 X10\nG2 X0 Y-10 R10\n", {0, 1, 1, 0}, 0, 10 + 5 * pi, {}, B{0, -10, 0, 10, 0, 0}},
        {"R negative takes the long way", "G1 X10\nG2 X0 Y-10 R-10\n", {0, 1, 1, 0}, 0, 10 + 15 * pi, {}, B{0, -20, 0, 20, 0, 0}},
        {"ZX quarter ccw", "G1 Z10\nG18 G3 X10 Z0 K-10\n", {0, 1, 1, 0}, 0, 10 + 5 * pi, {}, B{0, 0, 0, 10, 0, 10}},
        {"ZX three quarters cw", "G1 Z10\nG18 G2 X10 Z0 K-10\n", {0, 1, 1, 0}, 0, 10 + 15 * pi, {}, B{-10, 0, -10, 10, 0, 10}},
        {"YZ three quarters cw", "G1 Y10\nG19 G2 Y0 Z10 J-10\n", {0, 1, 1, 0}, 0, 10 + 15 * pi, {}, B{0, -10, -10, 0, 10, 10}},
        {"YZ half with R", "G1 Y10\nG19 G3 Y-10 Z0 R10\n", {0, 1, 1, 0}, 0, 10 + 10 * pi, {}, B{0, -10, 0, 0, 10, 10}},
        {"helix", "G1 X10\nG3 X10 Y0 Z-3 I-10\n", {0, 1, 1, 0}, 0, 10 + std::hypot(20 * pi, 3), {}, B{-10, -10, -3, 10, 10, 0}},
        {"absolute centres", "G90.1 G1 X10\nG3 X0 Y10 I0 J0\n", {0, 1, 1, 0}, 0, 10 + 5 * pi},
        {"end off its circle", "G1 X10\nG3 X0 Y11 I-10\n", {0, 2, 0, 0}, 0, 10 + std::sqrt(221.0), {2}},
        {"end within tolerance", "G1 X10\nG3 X0 Y10.0015 I-10\n", {0, 1, 1, 0}, 0, 10 + 5 * pi},
        {"R arc back to its start", "G1 X10\nG2 X10 R5\n", {0, 1, 0, 0}, 0, 10, {2}},
        {"R below half the chord", "G1 X10\nG2 X30 R5\n", {0, 2, 0, 0}, 0, 30, {2}},
        {"G91 arcs", "G91 G1 X10\nG3 X-10 Y10 I-10\nG1 Y5\n", {0, 2, 1, 0}, 0, 15 + 5 * pi, {}, B{0, 0, 0, 10, 15, 0}},
        {"inches then millimetres", "G20 G1 X1\nG21 X10\n", {0, 2, 0, 0}, 0, 40.8},
        {"inch arc", "G20 G1 X1\nG3 X0 Y1 I-1\n", {0, 1, 1, 0}, 0, 25.4 + 12.7 * pi},
    };
    for (const Case &c : cases)
        check(c);
}

TEST(ToolpathInterpreter, CannedCycles)
{
    const Case cases[] = {
        {"G81 back to the initial level", "G0 Z10\nG81 X5 Y0 Z-2 R1 F100\nX10\nG80\n", {1, 0, 0, 2}, 62, 6},
        {"G99 back to R", "G0 Z10\nG99 G81 X5 Y0 Z-2 R1 F100\nX10\n", {1, 0, 0, 2}, 35, 6},
        {"G83 pecks as one feed", "G0 Z10\nG83 X5 Z-2 R1 Q0.5 F100\n", {1, 0, 0, 1}, 36, 3},
        {"G91 with K", "G0 Z10\nG91 G81 X5 Z-3 R-8 K3 F100\n", {1, 0, 0, 3}, 82, 9},
        {"G1 ends the cycle", "G0 Z10\nG81 X5 Z-2 R1\nG1 X0\n", {1, 1, 0, 1}, 36, 8},
        {"no R: not drilled", "G81 X5 Z-2\nX6 R1\n", {0, 0, 0, 1}, 9, 3, {1}},
    };
    for (const Case &c : cases)
        check(c);
}

TEST(ToolpathInterpreter, SubprogramsAndProgramEnds)
{
    const Case cases[] = {
        {"called twice with L", "M98 P10 L2\nM30\nO10\nG91 G1 X1\nM99\n", {0, 2, 0, 0}, 0, 2, {}, {}, false, 2},
        {"eight-digit P holds the repeats", "M98 P30010\nM30\nO0010\nG91 G1 X1\nM99\n", {0, 3, 0, 0}, 0, 3},
        {"nested calls", "M98 P1\nM30\nO1\nM98 P2 L2\nM99\nO2\nG91 G1 X1\nM99\n", {0, 2, 0, 0}, 0, 2},
        {"colon names a program", "M98 P7\nM30\n:7\nG1 X4\nM99\n", {0, 1, 0, 0}, 0, 4},
        {"missing program", "M98 P5\nG1 X1\n", {0, 1, 0, 0}, 0, 1, {1}},
        {"recursion past eight levels", "M98 P1\nM30\nO1\nM98 P1\nM99\n", {0, 0, 0, 0}, 0, 0, {4}, {}, false, 4},
        {"M99 ends the main program", "G1 X1\nM99\nG1 X5\n", {0, 1, 0, 0}, 0, 1, {}, {}, false, 2},
        {"% after the first block ends", "%\nG1 X1\n%\nG1 X5\n", {0, 1, 0, 0}, 0, 1, {}, {}, false, 3},
        {"words, comments and block delete", "/G1 X1 (X5)\ng 1 x 2.5 ; X9\nN5 G01X-.5\n", {0, 3, 0, 0}, 0, 5.5},
        {"G92 sets without moving", "G0 X10\nG92 X0\nG0 X5\n", {2, 0, 0, 0}, 15, 0},
        {"G28 to the intermediate point only", "G0 X10\nG91 G28 X0\nG90 G28 X4\nG28\n", {3, 0, 0, 0}, 16, 0},
        {"G53, G4 and G10 do not move", "G53 X50\nG4 X2\nG10 L2 P1 X5\nG1 X1\n", {0, 1, 0, 0}, 0, 1},
    };
    for (const Case &c : cases)
        check(c);
}

TEST(ToolpathInterpreter, VariablesAndExpressions)
{
    const Case cases[] = {
        {"precedence", "#1 = 2 + 3 * 2 ** 2\nG1 X#1\n", {0, 1, 0, 0}, 0, 14},
        {"MOD keeps the dividend's sign", "#2=-7 MOD 3\nG1 X[5+#2]\n", {0, 1, 0, 0}, 0, 4},
        {"functions", "G1 X[SQRT[16] + ATAN[1]/[1] + ROUND[-2.5] + FIX[-2.7] + FUP[2.1] + ABS[-1]]\n",
         {0, 1, 0, 0}, 0, 48},
        {"trigonometry in degrees", "G1 X[COS[60]*10] Y[SIN[30]*10]\n", {0, 1, 0, 0}, 0, std::hypot(5, 5)},
        {"comparison and logic", "#1 = 2 GT 1 AND 0 LT 1\nG1 X[#1*10]\n", {0, 1, 0, 0}, 0, 10},
        {"assignments in force left to right", "#1=3 #2=#1*2\nG1 X#2 Y-#1\n", {0, 1, 0, 0}, 0, std::hypot(6, 3)},
        {"indirect and named", "#5=7 #7=4 #<depth> = 3\nG1 X##5 Z-#<Depth>\n", {0, 1, 0, 0}, 0, 5},
        {"unset reads 0, warned once", "G1 X#7\nG1 Y#7 X1\n", {0, 2, 0, 0}, 0, 1, {1}},
        {"division by zero skips", "#1=1/0\nG1 X[1/0]\nG1 X2\n", {0, 1, 0, 0}, 0, 2, {1, 2}},
        {"domain skips", "G1 X[SQRT[-1]]\nG1 X[ACOS[2]]\nG1 X[LN[0]]\n", {0, 0, 0, 0}, 0, 0, {1, 2, 3}},
        {"malformed skips", "G1 X\nG1 X[1+]\nG1 X1 Q\nG1 X2\n", {0, 1, 0, 0}, 0, 2, {1, 2, 3}},
        {"flow ends the path", "G1 X1\nIF [#1 EQ 0] GOTO 5\nG1 X5\n", {0, 1, 0, 0}, 0, 1, {2}, {}, false, 2},
        {"O-word flow", "G1 X1\no100 sub\nG1 X5\n", {0, 1, 0, 0}, 0, 1, {2}},
        {"not followed, warned once", "G68 X0 Y0 R45\nG1 X1\nG68 R10\nG51.1 X0\nG65 P9000 X3\n", {0, 1, 0, 0},
         0, 1, {1, 4, 5}},
    };
    for (const Case &c : cases)
        check(c);
}

TEST(ToolpathInterpreter, Turning)
{
    const Case cases[] = {
        {"diameters and a G18 arc", "G0 X20 Z0\nG3 X40 Z-10 K-10\nG1 U-10 W-5\n", {1, 1, 1, 0}, 10,
         5 * pi + std::hypot(5, 5), {}, B{20, 0, -15, 40, 0, 0}, true},
        {"G71 contour that follows", "G0 X40 Z2\nG71 U1 R1\nG71 P10 Q20 U0.5 F0.2\nN10 G0 X20\nG1 Z-10\nN20 X40\nG0 Z5\n",
         {4, 2, 0, 0}, std::hypot(20, 2) + 10 + 12 + 3, 22, {3}, {}, true},
        {"G70 after a finished contour", "G0 X40 Z2\nG70 P10 Q20\nM30\nN10 G0 X20\nG1 Z-10\nN20 X40\n",
         {3, 2, 0, 0}, std::hypot(20, 2) + 10 + 12, 22, {}, {}, true},
        {"turning cycles stay at their start", "G0 X40 Z2\nG90 X30 Z-10 F0.2\nX28\nG76 X20 Z-5\nG0 X50\n",
         {2, 0, 0, 0}, std::hypot(20, 2) + 5, 0, {2, 4}, {}, true},
        {"radius mode (G8) then diameters again (G7)", "G18 G8\nG0 X10 Z0\nG1 X20 F0.2\nG7 G1 X20\n", {1, 2, 0, 0}, 10,
         20, {}, B{20, 0, 0, 40, 0, 0}, true},
        {"missing contour", "G0 X40 Z2\nG70 P10 Q20\n", {1, 0, 0, 0}, std::hypot(20, 2), 0, {2}, {}, true},
    };
    for (const Case &c : cases)
        check(c);
}

TEST(ToolpathInterpreter, ToolsInOrderOfFirstUse)
{
    struct ToolCase {
        const char *program;
        bool lathe;
        std::vector<std::array<double, 3>> tools; // tool, line, feed length
    };
    const ToolCase cases[] = {
        {"T1 M6\nG1 X10 F100\nT2\nG0 X0\nM6\nG1 X5\nT1 M6\nG1 X0\n", false, {{1, 1, 15}, {2, 5, 5}}},
        {"G0 X1\nT3 M6\nG1 X2\n", false, {{0, 0, 0}, {3, 2, 1}}},
        {"T0101\nG0 X10\nT0202\nG1 X20\nT12\n", true, {{1, 1, 0}, {2, 3, 5}, {12, 5, 0}}},
    };
    for (const ToolCase &c : cases) {
        const ToolpathSummary s = ToolpathInterpreter::interpret(QString::fromUtf8(c.program), {c.lathe},
                                                                 AppLanguage::english);
        std::vector<std::array<double, 3>> tools;
        for (const ToolpathSummary::Tool &t : s.tools)
            tools.push_back({double(t.tool), double(t.line), t.feedLength});
        EXPECT_EQ(c.tools, tools) << c.program;
    }
}

} // namespace
