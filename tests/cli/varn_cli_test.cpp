// `varn`'s text tools, analysis and payloads as a script drives them.
#include "varnhome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QByteArray kDemo = "%\nO0001 (DEMO VARN EDIT)\n(FRESADO DE BOLSILLO - ALUMINIO 6061)\n"
                         "N10 G21 G17 G40 G49 G80 G90\nN20 G54\nN30 T1 M06 (FRESA PLANA D10)\nN40 S3000 M03\n"
                         "N50 G00 X0. Y0.\nN60 G43 Z25. H01\nN70 Z5.\nN80 G01 Z-2.5 F150.\nN90 G01 X60. F450.\n"
                         "N100 G01 Y40.\nN110 G02 X50. Y50. R10.\nN120 G01 X0.\nN130 G01 Y0.\nN140 G00 Z25. M09\n"
                         "N150 M05\nN160 G91 G28 Z0.\nN170 G28 X0. Y0.\nN180 M30\n%";

} // namespace

TEST(Varn, ToolsReadStandardInputAndWriteStandardOutputByteForByte)
{
    const VarnHome home;
    const struct {
        QStringList arguments;
        QByteArray in, out;
    } rows[] = {
        {{"renumber", "--start", "100", "--increment", "5"}, "N5 G0 X0\r\nG1 X10\r\nM30", "N100 G0 X0\r\nN105 G1 X10\r\nN110 M30"},
        {{"remove-m", "8, 9", "-"}, "N10 G0 X0 M08\nN20 M09\nN30 G1 X1 M08", "N10 G0 X0\nN30 G1 X1"},
        {{"remove-m", "none"}, "N10 M08", "N10 M08"}, // no code in the answer: nothing changes
        {{"scale-feed", "0.9"}, "G01 X1. F450.\nG01 Y2. F1000", "G01 X1. F405.\nG01 Y2. F900"},
        {{"scale-spindle", "1.1"}, "S1000 M3", "S1100 M3"},
        {{"remove-coolant"}, "N50 G00 X1. M08\nN60 M08\nN70 G01 X2. M09\n", "N50 G00 X1.\nN70 G01 X2. M09\n"},
        {{"format-spacing"}, "N10   G0    X0   Y0", "N10 G0 X0 Y0"},
        {{"number-missing"}, "N5 G0\nG1 X1", "N5 G0\nN10 G1 X1"},
        {{"strip-numbers"}, "%\nN10 G0\n", "%\nG0\n"},
        {{"ranges", "--json"}, kDemo,
         R"([{"axis":"X","min":0,"max":60},{"axis":"Y","min":0,"max":50},{"axis":"Z","min":-2.5,"max":25}])" "\n"},
        {{"ranges"}, kDemo, "X:   min 0    max 60    (Δ 60)\nY:   min 0    max 50    (Δ 50)\nZ:   min -2.5    max 25    (Δ 27.5)\n"},
        {{"ranges", "--axes", "zx", "--lang", "es"}, kDemo, "Z:   mín -2,5    máx 25    (Δ 27,5)\nX:   mín 0    máx 60    (Δ 60)\n"},
        {{"ranges"}, "(X10)\nG0 ;X5\n", "No X, Y, or Z coordinates were found in the program.\n"},
        {{"payload", "--terminator", "CRLF"}, "G0 X1\r\nG1 Y2\rM30", "G0 X1\r\nG1 Y2\r\nM30\r\n"},
        {{"payload", "--terminator", "CR"}, "%\nO1000\n\nM30\n%\n", "%\rO1000\r\rM30\r%\r"},
        {{"payload", "--terminator", "LF"}, "(20°)", "(20\xB0)\n"}, // Latin-1 on the wire
        {{"payload", "--terminator", "LF"}, "", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        const VarnRun run = home.run(row.arguments, row.in);
        EXPECT_EQ(run.status, 0) << run.err.constData();
        EXPECT_EQ(run.out, row.out);
    }
    const VarnRun inPlace = home.run({"renumber", "-i", home.write("p.nc", "G0 X0\nG1 X1\n")});
    EXPECT_EQ(inPlace.status, 0);
    EXPECT_TRUE(inPlace.out.isEmpty());
    EXPECT_EQ(home.read("p.nc"), "N10 G0 X0\nN20 G1 X1\n");
}

TEST(Varn, BadInputIsOneLineOnStandardErrorWithStatusTwoAndTouchesNothing)
{
    const VarnHome home;
    const QByteArray latin1 = "G0 X0\n(D\xC9POT)\n";
    const QString bad = home.write("latin1.nc", latin1);
    const struct {
        QStringList arguments;
        QByteArray in, mentions;
    } rows[] = {
        {{"renumber", "-i", bad}, {}, "latin1.nc: not valid UTF-8 (byte 8)"},
        {{"frobnicate"}, {}, "frobnicate"},
        {{"--in-place", "strip-numbers"}, {}, "--in-place"},
        {{"strip-numbers", "--in-place"}, "N10 G0", "--in-place"},
        {{"renumber", "--step", "5"}, "G0", "--step"},
        {{"renumber", "--start", "ten"}, "G0", "ten"},
        {{"renumber", "--start"}, "G0", "--start"},
        {{"scale-feed", "0,9"}, "F100", "0,9"},
        {{"scale-feed"}, "F100", "Usage"},
        {{"analyze", home.path("missing.nc")}, {}, "missing.nc"},
        {{"analyze", "--lang", "fr"}, "G0", "fr"},
        {{"payload"}, "G0", "--terminator"},
        {{"ranges", "--axes", "X1"}, "G0", "X1"},
        // Numbers that would leave 64 bits are refused instead of stopping the program.
        {{"renumber", "--start", "9223372036854775800", "--increment", "10"}, "G0\nG1\n", "64"},
        {{"scale-feed", "1"}, "F99999999999999999999999", "64"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        const VarnRun run = home.run(row.arguments, row.in);
        EXPECT_EQ(run.status, 2);
        EXPECT_TRUE(run.out.isEmpty()) << run.out.constData();
        EXPECT_TRUE(run.err.startsWith("varn: ") && run.err.endsWith('\n') && run.err.count('\n') == 1)
            << run.err.constData();
        EXPECT_TRUE(run.err.contains(row.mentions)) << run.err.constData();
    }
    EXPECT_EQ(home.read("latin1.nc"), latin1);
}

TEST(Varn, HelpIsAvailableForEveryCommand)
{
    const VarnHome home;
    const VarnRun run = home.run({"--help"});
    EXPECT_EQ(run.status, 0);
    for (const char *command : {"renumber", "number-missing", "strip-numbers", "format-spacing", "remove-coolant",
                                "remove-m", "scale-feed", "scale-spindle", "ranges", "analyze", "payload"}) {
        EXPECT_TRUE(run.out.contains(command)) << command;
        const VarnRun help = home.run({command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_TRUE(help.out.contains(QByteArray("varn ") + command)) << command;
    }
}

TEST(Varn, AnalyzeGivesEveryFieldInOrderAsJsonOrAReportInTheChosenLanguage)
{
    const VarnHome home;
    const VarnRun run = home.run({"analyze", "--json"}, kDemo);
    ASSERT_EQ(run.status, 0) << run.err.constData();
    const QJsonObject json = QJsonDocument::fromJson(run.out).object();
    EXPECT_EQ(json["lineCount"].toInt(), 22);
    EXPECT_EQ(json["programNumber"].toString(), "O0001");
    EXPECT_EQ(json["units"].toString(), "mm");
    EXPECT_EQ(QJsonDocument(json["tools"].toArray()).toJson(QJsonDocument::Compact),
              R"([{"comment":"FRESA PLANA D10","line":6,"tool":"1"}])");
    EXPECT_EQ(json["comments"][0]["text"].toString(), "FRESADO DE BOLSILLO - ALUMINIO 6061");
    EXPECT_EQ(json["warnings"].toArray().size(), 0);
    EXPECT_EQ(json["sRange"].toArray(), QJsonArray({3000, 3000}));
    EXPECT_EQ(json["fRange"].toArray(), QJsonArray({150, 450}));
    EXPECT_EQ(json["zRange"].toArray(), QJsonArray({-2.5, 25}));
    EXPECT_EQ(json["estimatedTimeText"].toString(), "0:32");
    // The documented key order, which a QJsonObject round trip would lose.
    qsizetype last = -1;
    for (const char *key : {"lineCount", "programNumber", "units", "tools", "comments", "warnings", "sRange", "fRange",
                            "xRange", "yRange", "zRange", "estimatedSeconds", "estimatedTimeText"}) {
        const qsizetype at = run.out.indexOf("\"" + QByteArray(key) + "\":");
        EXPECT_GT(at, last) << key;
        last = at;
    }
    const QByteArray empty = home.run({"analyze", "--json"}, "").out;
    for (const char *absent : {"\"programNumber\":null", "\"sRange\":null", "\"estimatedSeconds\":null"}) {
        EXPECT_TRUE(empty.contains(absent)) << empty.constData();
    }
    const QByteArray english = home.run({"analyze"}, "G1 X10\n").out;
    EXPECT_TRUE(english.contains("Missing tape start marker %")) << english.constData();
    EXPECT_TRUE(english.contains("Cutting move with F0 or no F feed rate"));
    EXPECT_FALSE(home.run({"analyze", "--lang", "es"}, "G1 X10\n").out.contains("Missing tape start marker"));
}
