// Drives the real `varn` binary as a script would: bytes in, bytes out, exit status.
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct VarnRun {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

VarnRun varn(const QStringList &arguments, const QByteArray &input = {})
{
    QProcess process;
    process.start(QStringLiteral(VARN_BINARY_DIR "/src/cli/varn"), arguments);
    EXPECT_TRUE(process.waitForStarted(10000));
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished(60000));
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

QString writeFile(const QTemporaryDir &dir, const QString &name, const QByteArray &bytes)
{
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

// One clear line on standard error, status 2, nothing on standard output.
void expectBadInput(const VarnRun &run, const QByteArray &mentions)
{
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.out.isEmpty()) << run.out.constData();
    EXPECT_EQ(run.err.count('\n'), 1) << run.err.constData();
    EXPECT_TRUE(run.err.startsWith("varn: ")) << run.err.constData();
    EXPECT_TRUE(run.err.contains(mentions)) << run.err.constData() << " lacks " << mentions.constData();
}

const QByteArray kDemo = "%\nO0001 (DEMO VARN EDIT)\n(FRESADO DE BOLSILLO - ALUMINIO 6061)\n"
                         "N10 G21 G17 G40 G49 G80 G90\nN20 G54\nN30 T1 M06 (FRESA PLANA D10)\nN40 S3000 M03\n"
                         "N50 G00 X0. Y0.\nN60 G43 Z25. H01\nN70 Z5.\nN80 G01 Z-2.5 F150.\nN90 G01 X60. F450.\n"
                         "N100 G01 Y40.\nN110 G02 X50. Y50. R10.\nN120 G01 X0.\nN130 G01 Y0.\nN140 G00 Z25. M09\n"
                         "N150 M05\nN160 G91 G28 Z0.\nN170 G28 X0. Y0.\nN180 M30\n%";

} // namespace

TEST(VarnTextTools, StandardInputToStandardOutputKeepsLineEndings)
{
    VarnRun run = varn({"renumber", "--start", "100", "--increment", "5"}, "N5 G0 X0\r\nG1 X10\r\nM30");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "N100 G0 X0\r\nN105 G1 X10\r\nN110 M30");

    run = varn({"remove-m", "8, 9", "-"}, "N10 G0 X0 M08\nN20 M09\nN30 G1 X1 M08");
    EXPECT_EQ(run.out, "N10 G0 X0\nN30 G1 X1");

    run = varn({"scale-feed", "0.9"}, "G01 X1. F450.\nG01 Y2. F1000");
    EXPECT_EQ(run.out, "G01 X1. F405.\nG01 Y2. F900");

    run = varn({"scale-spindle", "1.1"}, "S1000 M3");
    EXPECT_EQ(run.out, "S1100 M3");

    run = varn({"remove-coolant"}, "N50 G00 X1. M08\nN60 M08\nN70 G01 X2. M09\n");
    EXPECT_EQ(run.out, "N50 G00 X1.\nN70 G01 X2. M09\n");

    run = varn({"format-spacing"}, "N10   G0    X0   Y0");
    EXPECT_EQ(run.out, "N10 G0 X0 Y0");

    run = varn({"number-missing"}, "N5 G0\nG1 X1");
    EXPECT_EQ(run.out, "N5 G0\nN10 G1 X1");

    run = varn({"strip-numbers"}, "%\nN10 G0\n");
    EXPECT_EQ(run.out, "%\nG0\n");
    // A remove-m answer with no code in it leaves the program as it was.
    run = varn({"remove-m", "none"}, "N10 M08");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "N10 M08");
}

TEST(VarnTextTools, InPlaceWritesTheFileAndPrintsNothing)
{
    QTemporaryDir dir;
    const QString path = writeFile(dir, "p.nc", "G0 X0\nG1 X1\n");
    VarnRun run = varn({"renumber", "-i", path});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.out.isEmpty());
    EXPECT_EQ(readFile(path), "N10 G0 X0\nN20 G1 X1\n");

    run = varn({"--in-place", "strip-numbers"});
    EXPECT_EQ(run.status, 2);
    run = varn({"strip-numbers", "--in-place"}, "N10 G0");
    expectBadInput(run, "--in-place");
}

TEST(VarnTextTools, BadInputIsOneLineAndStatusTwoAndTouchesNothing)
{
    QTemporaryDir dir;
    const QByteArray latin1 = "G0 X0\n(D\xC9POT)\n";
    const QString bad = writeFile(dir, "latin1.nc", latin1);
    VarnRun run = varn({"renumber", "-i", bad});
    expectBadInput(run, "latin1.nc");
    EXPECT_TRUE(run.err.contains("byte 8")) << "names the byte offset: " << run.err.constData();
    EXPECT_EQ(readFile(bad), latin1);

    expectBadInput(varn({"frobnicate"}), "frobnicate");
    expectBadInput(varn({"renumber", "--step", "5"}, "G0"), "--step");
    expectBadInput(varn({"renumber", "--start", "ten"}, "G0"), "ten");
    expectBadInput(varn({"renumber", "--start"}, "G0"), "--start");
    expectBadInput(varn({"scale-feed", "0,9"}, "F100"), "0,9");
    expectBadInput(varn({"scale-feed"}, "F100"), "Usage");
    expectBadInput(varn({"analyze", dir.filePath("missing.nc")}), "missing.nc");
    expectBadInput(varn({"analyze", "--lang", "fr"}, "G0"), "fr");
    expectBadInput(varn({"payload"}, "G0"), "--terminator");
    expectBadInput(varn({"ranges", "--axes", "X1"}, "G0"), "X1");
    // Numbers that would leave 64 bits are refused instead of stopping the program.
    expectBadInput(varn({"renumber", "--start", "9223372036854775800", "--increment", "10"}, "G0\nG1\n"), "64");
    expectBadInput(varn({"scale-feed", "1"}, "F99999999999999999999999"), "64");
}

TEST(VarnTextTools, HelpIsAvailableEverywhere)
{
    VarnRun run = varn({"--help"});
    EXPECT_EQ(run.status, 0);
    for (const char *command : {"renumber", "number-missing", "strip-numbers", "format-spacing", "remove-coolant",
                                "remove-m", "scale-feed", "scale-spindle", "ranges", "analyze", "payload"}) {
        EXPECT_TRUE(run.out.contains(command)) << command;
        const VarnRun help = varn({command, "--help"});
        EXPECT_EQ(help.status, 0) << command;
        EXPECT_TRUE(help.out.contains(QByteArray("varn ") + command)) << command;
    }
}

TEST(VarnRanges, JsonAndTextAgreeWithTheAlert)
{
    VarnRun run = varn({"ranges", "--json"}, kDemo);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "[{\"axis\":\"X\",\"min\":0,\"max\":60},{\"axis\":\"Y\",\"min\":0,\"max\":50},"
                       "{\"axis\":\"Z\",\"min\":-2.5,\"max\":25}]\n");

    run = varn({"ranges"}, kDemo);
    EXPECT_EQ(run.out, QString("X:   min 0    max 60    (Δ 60)\nY:   min 0    max 50    (Δ 50)\n"
                               "Z:   min -2.5    max 25    (Δ 27.5)\n")
                           .toUtf8());
    run = varn({"ranges", "--axes", "zx", "--lang", "es"}, kDemo);
    EXPECT_TRUE(run.out.startsWith("Z:")) << run.out.constData();
    EXPECT_TRUE(run.out.contains("-2,5")) << "Spanish decimal comma: " << run.out.constData();

    run = varn({"ranges"}, "(X10)\nG0 ;X5\n");
    EXPECT_EQ(run.out, "No X, Y, or Z coordinates were found in the program.\n");
}

TEST(VarnAnalyze, JsonCarriesEveryFieldInOrder)
{
    const VarnRun run = varn({"analyze", "--json"}, kDemo);
    ASSERT_EQ(run.status, 0) << run.err.constData();
    QJsonParseError error;
    const QJsonObject json = QJsonDocument::fromJson(run.out, &error).object();
    ASSERT_EQ(error.error, QJsonParseError::NoError) << run.out.constData();
    EXPECT_EQ(json["lineCount"].toInt(), 22);
    EXPECT_EQ(json["programNumber"].toString(), "O0001");
    EXPECT_EQ(json["units"].toString(), "mm");
    EXPECT_EQ(json["tools"].toArray().size(), 1);
    EXPECT_EQ(json["tools"][0]["line"].toInt(), 6);
    EXPECT_EQ(json["tools"][0]["tool"].toString(), "1");
    EXPECT_EQ(json["tools"][0]["comment"].toString(), "FRESA PLANA D10");
    EXPECT_EQ(json["comments"][0]["text"].toString(), "FRESADO DE BOLSILLO - ALUMINIO 6061");
    EXPECT_EQ(json["warnings"].toArray().size(), 0);
    EXPECT_EQ(json["sRange"].toArray(), QJsonArray({3000, 3000}));
    EXPECT_EQ(json["fRange"].toArray(), QJsonArray({150, 450}));
    EXPECT_EQ(json["zRange"].toArray(), QJsonArray({-2.5, 25}));
    EXPECT_TRUE(json["estimatedSeconds"].isDouble());
    EXPECT_TRUE(json["estimatedTimeText"].isString());
    // Documented key order, which a QJsonObject round trip would lose.
    const QByteArray keys[] = {"lineCount", "programNumber", "units", "tools", "comments", "warnings", "sRange",
                               "fRange", "xRange", "yRange", "zRange", "estimatedSeconds", "estimatedTimeText"};
    qsizetype last = -1;
    for (const QByteArray &key : keys) {
        const qsizetype at = run.out.indexOf("\"" + key + "\":");
        EXPECT_GT(at, last) << key.constData();
        last = at;
    }
}

TEST(VarnAnalyze, ReportIsInTheChosenLanguage)
{
    VarnRun run = varn({"analyze"}, "G1 X10\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.out.contains("Missing tape start marker %")) << run.out.constData();
    EXPECT_TRUE(run.out.contains("Cutting move with F0 or no F feed rate"));
    run = varn({"analyze", "--lang", "es"}, "G1 X10\n");
    EXPECT_FALSE(run.out.contains("Missing tape start marker")) << run.out.constData();
    const VarnRun json = varn({"analyze", "--json"}, "");
    EXPECT_TRUE(json.out.contains("\"programNumber\":null")) << json.out.constData();
    EXPECT_TRUE(json.out.contains("\"sRange\":null"));
    EXPECT_TRUE(json.out.contains("\"estimatedSeconds\":null"));
}

TEST(VarnPayload, BytesAreWhatTheSenderWouldWrite)
{
    VarnRun run = varn({"payload", "--terminator", "CRLF"}, "G0 X1\r\nG1 Y2\rM30");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "G0 X1\r\nG1 Y2\r\nM30\r\n");
    run = varn({"payload", "--terminator", "CR"}, "%\nO1000\n\nM30\n%\n");
    EXPECT_EQ(run.out, "%\rO1000\r\rM30\r%\r");
    run = varn({"payload", "--terminator", "LF"}, QString("(20°)").toUtf8());
    EXPECT_EQ(run.out, "(20\xB0)\n");
    run = varn({"payload", "--terminator", "LF"}, "");
    EXPECT_EQ(run.out, "");
}
