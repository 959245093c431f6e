// `varn`'s text tools, analysis and payloads as a script drives them.
#include "programgenerator.h"
#include "varnhome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const QString kData = QStringLiteral(VARN_SOURCE_DIR "/tests/data/cli/");

QByteArray dataFile(const QString &name)
{
    QFile file(kData + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    return file.readAll();
}

// \n \r \t and \xHH, the last one raw byte (a Latin-1 byte is not valid UTF-8 text).
QByteArray unescaped(QByteArray field)
{
    field.replace("\\n", "\n").replace("\\r", "\r").replace("\\t", "\t");
    for (qsizetype at = 0; (at = field.indexOf("\\x")) >= 0;) {
        field.replace(at, 4, QByteArray(1, char(field.mid(at + 2, 2).toInt(nullptr, 16))));
    }
    return field;
}

const QByteArray kDemo = dataFile("demo.nc");

} // namespace

// Every row of commands.tsv: a tool's bytes exactly, or bad input refused with
// one line on standard error, status 2, and nothing written.
TEST(Varn, CommandsGiveTheirBytesOrRefuseBadInputInOneLine)
{
    const VarnHome home;
    const QByteArray latin1 = "G0 X0\n(D\xC9POT)\n";
    home.write("latin1.nc", latin1);
    int rows = 0;
    for (const QByteArray &line : dataFile("commands.tsv").split('\n')) {
        if (line.isEmpty() || line.startsWith('#')) {
            continue;
        }
        const QList<QByteArray> fields = line.split('\t');
        QStringList arguments;
        for (const QByteArray &field : fields.mid(3)) {
            arguments << QString::fromUtf8(unescaped(field)).replace("$HOME", home.path(""));
        }
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const QByteArray in = fields[1].startsWith('@') ? dataFile(fields[1].mid(1) + ".nc") : unescaped(fields[1]);
        const QByteArray expected = unescaped(fields[2]);
        const VarnRun run = home.run(arguments, in);
        ++rows;
        EXPECT_EQ(run.status, fields[0].toInt()) << run.err.constData();
        if (run.status == 0) {
            EXPECT_EQ(run.out, expected);
            continue;
        }
        EXPECT_TRUE(run.out.isEmpty()) << run.out.constData();
        EXPECT_TRUE(run.err.startsWith("varn: ") && run.err.endsWith('\n') && run.err.count('\n') == 1)
            << run.err.constData();
        EXPECT_TRUE(run.err.contains(expected)) << run.err.constData();
    }
    EXPECT_EQ(rows, 38);
    EXPECT_EQ(home.read("latin1.nc"), latin1);
    const VarnRun inPlace = home.run({"renumber", "-i", home.write("p.nc", "G0 X0\nG1 X1\n")});
    EXPECT_EQ(inPlace.status, 0);
    EXPECT_TRUE(inPlace.out.isEmpty());
    EXPECT_EQ(home.read("p.nc"), "N10 G0 X0\nN20 G1 X1\n");
    // Far past the first block read: "(caf", two bytes of "é", " ", then the Latin-1 byte.
    const QByteArray program = ProgramGenerator::milling(6'000'000).toUtf8();
    const QString large = home.write("large.nc", program + "(caf\xC3\xA9 \xE9)\nM30\n");
    EXPECT_EQ(home.run({"analyze", large}).err,
              "varn: " + large.toUtf8() + ": not valid UTF-8 (byte " + QByteArray::number(program.size() + 7) +
                  "). To read a program in an older code page, add --encoding NAME (utf-8, windows-1252, iso-8859-1, "
                  "cp850, cp437, windows-1251, koi8-r).\n");
    const VarnRun asLatin1 = home.run({"analyze", "--json", "--encoding", "latin1", large});
    EXPECT_EQ(asLatin1.status, 0) << asLatin1.err.constData();
    EXPECT_TRUE(asLatin1.out.contains(QStringLiteral("\"text\":\"cafÃ© é\"").toUtf8()));
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
