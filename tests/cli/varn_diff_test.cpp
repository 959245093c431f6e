// `varn diff` as a script sees it: the unified text and diff's exit statuses.
#include "varnhome.h"

#include <QFileInfo>

TEST(VarnDiff, ExitsZeroWhenEqualOneWhenDifferentTwoOnBadInput)
{
    const VarnHome home;
    home.write("a.nc", "N10 G1 X1. (ROUGH)\nN20 M30\n");
    home.write("b.nc", "N30 G1 X1.000 (FINISH)\nN40 M30\n");
    home.write("c.nc", "N10 G1 X1.0004 (ROUGH)\nN20 M30\n");
    home.write("latin1.nc", "(D\xC9POT)\n");
    struct Case {
        QStringList arguments;
        int status;
        QByteArray out;   // exact standard output
        QByteArray error; // what the one error line names
    } cases[] = {
        {{"a.nc", "a.nc"}, 0, "", ""},
        {{"a.nc", "b.nc"},
         1,
         "--- a.nc\n+++ b.nc\n@@ -1,2 +1,2 @@\n-N10 G1 X1. (ROUGH)\n-N20 M30\n+N30 G1 X1.000 (FINISH)\n+N40 M30\n",
         ""},
        {{"a.nc", "b.nc", "--numeric", "--ignore-n", "--ignore-comments"}, 0, "", ""},
        {{"a.nc", "b.nc", "--numeric", "--ignore-n"},
         1,
         "--- a.nc\n+++ b.nc\n@@ -1,2 +1,2 @@\n-N10 G1 X1. (ROUGH)\n+N30 G1 X1.000 (FINISH)\n N20 M30\n",
         ""},
        {{"a.nc", "c.nc", "--tolerance", "0.001"}, 0, "", ""},
        {{"a.nc", "c.nc", "--tolerance", "0.0001"},
         1,
         "--- a.nc\n+++ c.nc\n@@ -1,2 +1,2 @@\n-N10 G1 X1. (ROUGH)\n+N10 G1 X1.0004 (ROUGH)\n N20 M30\n",
         ""},
        {{"a.nc", "c.nc", "--tolerance", "-1"}, 2, "", "--tolerance"},
        {{"a.nc", "missing.nc"}, 2, "", "missing.nc"},
        {{"a.nc", "latin1.nc"}, 2, "", "latin1.nc: not valid UTF-8 (byte 2)"},
        {{"a.nc"}, 2, "", "Usage"},
        {{"-", "-"}, 2, "", "standard input"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.arguments.join(' ').toStdString());
        QStringList arguments{"diff"};
        for (const QString &word : c.arguments) {
            arguments << (word.endsWith(".nc") ? home.path(word) : word);
        }
        const VarnRun run = home.run(arguments);
        EXPECT_EQ(run.status, c.status) << run.err.constData();
        if (c.status == 2) {
            EXPECT_TRUE(run.out.isEmpty());
            EXPECT_EQ(run.err.count('\n'), 1);
            EXPECT_TRUE(run.err.contains(c.error)) << run.err.constData();
        } else if (!c.out.isEmpty()) {
            const QString folder = QFileInfo(home.path("a.nc")).path() + QLatin1Char('/');
            EXPECT_EQ(QString::fromUtf8(run.out).replace(folder, ""), QString::fromUtf8(c.out));
        }
    }
}
