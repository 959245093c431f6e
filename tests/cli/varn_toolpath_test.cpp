// `varn toolpath` as a script reads it: the JSON contract, the report in each
// language, a file streamed with a subprogram after its call, and bad input.
#include "varnhome.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <numbers>

TEST(VarnToolpath, JsonKeepsTheContractFromAFileOrStandardInput)
{
    const VarnHome home;
    // The subprogram follows the M30: the file is streamed and read again there.
    const QByteArray program = "G0 X10\nT2 M6\nM98 P10\nM30\nO10\nG1 Y5 F100\nG2 X20 Y5 R5\nM99\n";
    const QString file = home.write("sub.nc", program);
    for (const VarnRun &run : {home.run({"toolpath", "--json", file}), home.run({"toolpath", "--json"}, program)}) {
        ASSERT_EQ(run.status, 0) << run.err.constData();
        const QJsonObject json = QJsonDocument::fromJson(run.out).object();
        EXPECT_EQ(json["units"].toString(), "mm");
        EXPECT_EQ(json["lathe"].toBool(), false);
        EXPECT_EQ(QJsonDocument(json["moves"].toObject()).toJson(QJsonDocument::Compact),
                  R"({"arc":1,"cycle":0,"feed":1,"rapid":1})");
        EXPECT_DOUBLE_EQ(json["length"]["feed"].toDouble(), 5 + 5 * std::numbers::pi);
        EXPECT_EQ(json["bounds"]["feed"]["max"].toArray(), QJsonArray({20, 10, 0}));
        EXPECT_EQ(json["bounds"]["rapid"]["min"].toArray(), QJsonArray({0, 0, 0}));
        EXPECT_EQ(QJsonDocument(json["tools"].toArray()).toJson(QJsonDocument::Compact),
                  QByteArray(R"([{"feedLength":0,"line":0,"tool":0},{"feedLength":)") +
                      QByteArray::number(5 + 5 * std::numbers::pi, 'g', 17) + R"(,"line":2,"tool":2}])");
        EXPECT_EQ(json["endLine"].toInt(), 4);
        EXPECT_TRUE(json["warnings"].toArray().isEmpty());
        qsizetype last = -1;
        for (const char *key : {"units", "lathe", "moves", "length", "bounds", "tools", "endLine", "warnings"}) {
            const qsizetype at = run.out.indexOf("\"" + QByteArray(key) + "\":");
            EXPECT_GT(at, last) << key;
            last = at;
        }
    }
}

TEST(VarnToolpath, ReportsInTheChosenLanguageAndRefusesBadInput)
{
    const VarnHome home;
    const QByteArray program = "G20\nG1 X1 F10\nG68 R30\n";
    const VarnRun english = home.run({"toolpath"}, program);
    EXPECT_TRUE(english.out.contains("Units: in")) << english.out.constData();
    EXPECT_TRUE(english.out.contains("Length: 0.000 mm rapid, 25.400 mm feed"));
    EXPECT_TRUE(english.out.contains("Line 3: Not drawn: G68"));
    const VarnRun spanish = home.run({"toolpath", "--lang", "es", "--lathe"}, program);
    EXPECT_TRUE(spanish.out.contains("Torneado")) << spanish.out.constData();
    EXPECT_TRUE(spanish.out.contains("12,700 mm en avance"));
    EXPECT_EQ(home.run({"toolpath", "--json", "--lathe"}, program).out.count("\"lathe\":true"), 1);
    for (const QStringList &arguments : {QStringList{"toolpath", home.path("missing.nc")},
                                         QStringList{"toolpath", home.write("bad.nc", "G0 X1 (\xE9)\n")},
                                         QStringList{"toolpath", "--bogus"}}) {
        const VarnRun run = home.run(arguments);
        EXPECT_EQ(run.status, 2) << arguments.join(' ').toStdString();
        EXPECT_TRUE(run.out.isEmpty());
        EXPECT_EQ(run.err.count('\n'), 1) << run.err.constData();
    }
}
