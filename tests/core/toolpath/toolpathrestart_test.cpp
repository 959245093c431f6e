// Restarts worked out by hand: the preamble a machinist would write to carry
// on from a line, for mill and lathe programs, and the lines no restart can
// be made from.
#include "toolpath/toolpathrestart.h"

#include <gtest/gtest.h>

namespace {

const char *const kMill = "%\n"
                          "O1234 (BRACKET)\n"
                          "(T1 10MM ENDMILL)\n"
                          "G21 G17 G90 G94\n"
                          "G54\n"
                          "T1 M6\n"
                          "G43 H1 Z50.\n"
                          "S3000 M3\n"
                          "M8\n"
                          "G0 X0 Y0\n"
                          "Z5.\n"
                          "G1 Z-2. F200\n" // 12
                          "X50. F400\n"
                          "G0 Z25.\n"
                          "T2\n"
                          "X60 Y10\n"
                          "M98 P100\n" // 17: the subprogram changes tool and offsets
                          "G91 G1 X5.\n"
                          "G3 X-5. Y5. R5.\n"
                          "Y5.\n" // 20: G91, arc mode still in force
                          "G90 G81 X10. Y10. Z-5. R2. F100\n"
                          "X20.\n" // 22: inside the drilling cycle
                          "G41 D1 G1 X30.\n"
                          "Y40.\n" // 24: compensation on
                          "M30\n"
                          "O0100\n"
                          "T2 M6\n"
                          "G55 G43 H12 Z30.\n"
                          "S1200 M4 M9\n"
                          "G1 Z-1. F90\n"
                          "M99\n";

const char *const kLathe = "O0010\n"
                           "G21 G18 G99\n"
                           "G50 S2500\n"
                           "T0101\n"
                           "G96 S180 M3\n"
                           "M8\n"
                           "G0 X52. Z2.\n"
                           "G1 Z-20. F0.25\n" // 8
                           "G0 X100. Z100.\n"
                           "T0202\n"
                           "G97 S800 M3\n"
                           "G0 X30. Z5.\n"
                           "G1 Z-10. F0.1\n" // 13
                           "M30\n";

struct Case {
    const char *name;
    const char *program;
    int line;
    bool lathe;
    const char *preamble;
    int notes;
};

TEST(ToolpathRestart, PreambleRestoresTheModesAndApproachesFromAbove)
{
    const Case cases[] = {
        {"mill after the plunge", kMill, 13, false,
         "G21 G17 G40 G80 G90 G94\nG54\nT1 M6\nS3000 M3\nM8\nG0 G43 H1 Z50.0\nG0 X0.0 Y0.0\nG1 Z-2.0 F200.0\n", 0},
        {"mill with a tool called up", kMill, 16, false,
         "G21 G17 G40 G80 G90 G94\nG54\nT1 M6\nT2\nS3000 M3\nM8\nG0 G43 H1 Z50.0\nG0 X50.0 Y0.0\nG1 Z25.0 F400.0\nG0\n",
         0},
        {"mill after a subprogram", kMill, 18, false,
         "G21 G17 G40 G80 G90 G94\nG55\nT2 M6\nS1200 M4\nG0 G43 H12 Z50.0\nG0 X60.0 Y10.0\nG1 Z-1.0 F90.0\n", 0},
        {"mill incremental in an arc", kMill, 20, false,
         "G21 G17 G40 G80 G90 G94\nG55\nT2 M6\nS1200 M4\nG0 G43 H12 Z50.0\nG0 X60.0 Y15.0\nG1 Z-1.0 F90.0\nG3\n"
         "G91\n",
         0},
        {"mill inside a drilling cycle", kMill, 22, false,
         "G21 G17 G40 G80 G90 G94\nG55\nT2 M6\nS1200 M4\nG0 G43 H12 Z50.0\nG0 X10.0 Y10.0\nG1 Z-1.0 F100.0\nG3\n", 1},
        {"mill with compensation on", kMill, 24, false,
         "G21 G17 G40 G80 G90 G94\nG55\nT2 M6\nS1200 M4\nG0 G43 H12 Z50.0\nG0 X30.0 Y10.0\nG1 Z-1.0 F100.0\n", 1},
        {"mill before any move", kMill, 4, false, "G17 G40 G80 G90\nG0\n", 1},
        {"lathe with constant surface speed", kLathe, 8, true,
         "G21 G18 G40 G80 G99\nT0101\nG50 S2500\nG96 S180 M3\nM8\nG0 X52.0\nG0 Z2.0\n", 0},
        {"lathe second tool", kLathe, 13, true,
         "G21 G18 G40 G80 G99\nT0202\nG97 S800 M3\nM8\nG0 X100.0\nG0 Z5.0\nG1 X30.0 F0.25\nG0\n", 0},
        {"mill on its tool change", kMill, 6, false, "G21 G17 G40 G80 G90 G94\nG54\nG0\n", 0},
        {"lathe on its tool change", kLathe, 10, true, "G21 G18 G40 G80 G99\nG0\n", 0},
        {"lathe in radius mode", "G18 G8\nG0 X10 Z2\nG1 Z-5 F0.2\nX12\n", 4, true,
         "G18 G40 G80 G8\nG0 X10.0\nG0 Z-5.0\nF0.2\nG1\n", 0},
        {"inches", "G20 G90\nG0 X1.25 Y0.5 Z0.1\nG1 Z-0.125 F12.5\nX2.\n", 4, false,
         "G20 G17 G40 G80 G90\nG0 Z0.1\nG0 X1.25 Y0.5\nG1 Z-0.125 F12.5\n", 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        const QString program = QString::fromUtf8(c.program);
        const ToolpathRestart restart = ToolpathRestarts::plan(program, c.line, c.lathe, AppLanguage::english);
        ASSERT_TRUE(restart.ok()) << restart.problem.toStdString();
        EXPECT_EQ(restart.preamble.toStdString(), c.preamble);
        EXPECT_EQ(restart.notes.size(), c.notes) << restart.notes.join(QLatin1Char('|')).toStdString();
    }
}

TEST(ToolpathRestart, SentTextKeepsTheProgramHeaderThenThePreambleThenTheRestVerbatim)
{
    const QString crlf = QString::fromUtf8(kLathe).replace(QStringLiteral("\n"), QStringLiteral("\r\n"));
    const ToolpathRestart restart = ToolpathRestarts::plan(crlf, 13, true, AppLanguage::english);
    ASSERT_TRUE(restart.ok());
    EXPECT_EQ(restart.header, QStringLiteral("O0010\r\n"));
    EXPECT_TRUE(restart.preamble.endsWith(QStringLiteral("G0\r\n")));
    EXPECT_EQ(restart.text(crlf, restart.preamble),
              restart.header + restart.preamble + QStringLiteral("G1 Z-10. F0.1\r\nM30\r\n"));
    // An edited preamble without its last break still ends its own line.
    EXPECT_EQ(restart.text(crlf, QStringLiteral("G0 X120.")),
              QStringLiteral("O0010\r\nG0 X120.\r\nG1 Z-10. F0.1\r\nM30\r\n"));

    const QString mill = QString::fromUtf8(kMill);
    EXPECT_EQ(ToolpathRestarts::plan(mill, 13, false, AppLanguage::english).header,
              QStringLiteral("%\nO1234 (BRACKET)\n"));
    EXPECT_EQ(ToolpathRestarts::plan(mill, 2, false, AppLanguage::english).header, QStringLiteral("%\n"));
}

TEST(ToolpathRestart, LinesNoRestartCanBeMadeFromAreProblems)
{
    const QString mill = QString::fromUtf8(kMill);
    EXPECT_EQ(ToolpathRestarts::plan(mill, 27, false, AppLanguage::english).problem,
              QStringLiteral("The program does not reach line 27: it stops at line 25."));
    EXPECT_EQ(ToolpathRestarts::plan(mill, 40, false, AppLanguage::english).problem,
              QStringLiteral("Line 40 is not in the program, which has 32 lines."));
    EXPECT_FALSE(ToolpathRestarts::plan(mill, 0, false, AppLanguage::english).ok());
    EXPECT_FALSE(ToolpathRestarts::plan(mill, 27, false, AppLanguage::spanish).problem.contains(QLatin1String("line")));
}

TEST(ToolpathRestart, BlockNumbersFindTheirLine)
{
    const QString program = QStringLiteral("%\r\nN10 G0 X0\r\n/N20 X1\r\n  n30 X2\rN3 X3\nN300 X4\n");
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 10), 2);
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 20), 3);
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 30), 4);
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 3), 5);
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 300), 6);
    EXPECT_EQ(ToolpathRestarts::lineOfBlock(program, 1), 0);
}

} // namespace
