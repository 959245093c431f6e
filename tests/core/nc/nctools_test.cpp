#include "nc/nctools.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <clocale>
#include <limits>
#include <string>

using namespace NCTools;

// Programming errors: only callers that skipped the fits checks get here.
TEST(ToolsDeathTest, CounterOrValueBeyond64BitsStopsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    constexpr qint64 kMax = std::numeric_limits<qint64>::max();
    EXPECT_DEATH(renumber("G0\nG1\nG2", kMax - 1, 1), "N counter overflowed");
    EXPECT_DEATH(addLineNumbers("G0\nG1\nG2", kMax - 1, 1), "N counter overflowed");
    EXPECT_DEATH(scaleFeed("F99999999999999999999", 1), "does not round into 64 bits");
}

TEST(FormatLikeOriginal, IgnoresTheUserLocale)
{
    // A decimal-comma locale for LC_NUMERIC: an installed one, or one compiled
    // into a temporary folder when the system has none.
    QTemporaryDir localeDir;
    const char *previous = std::setlocale(LC_NUMERIC, nullptr);
    const std::string saved = previous ? previous : "C";
    bool switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "es_ES.UTF-8");
    if (!switched && localeDir.isValid() && !QStandardPaths::findExecutable("localedef").isEmpty()) {
        QProcess::execute("localedef", {"-i", "de_DE", "-f", "UTF-8", localeDir.filePath("de_DE.UTF-8")});
        qputenv("LOCPATH", QFile::encodeName(localeDir.path()));
        switched = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    }
    if (!switched) {
        GTEST_SKIP() << "no decimal-comma locale available";
    }
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 1.5);
    EXPECT_STREQ(probe, "1,5"); // the trap is really set

    EXPECT_EQ(formatLikeOriginal(1.25, "1.00"), "1.25");
    EXPECT_EQ(scaleFeed("F1.5", 2), "F3.0");
    EXPECT_EQ(axisRanges("X1.5 X1234567890.12345678", {'X'}).value(0), (AxisRange{'X', 1.5, 1234567890.12345678}));
    std::setlocale(LC_NUMERIC, saved.c_str());
    qunsetenv("LOCPATH");
}

// A 1 MB line goes through in one piece (the many-blocks case is in the scanner proof).
TEST(LargeTexts, OneHugeLine)
{
    const QString huge = "G1" + QString(1'000'000, u' ') + "X1";
    EXPECT_EQ(formatSpacing(huge), "G1 X1");
    EXPECT_TRUE(renumber(huge, 10, 10) == "N10 " + huge);
    EXPECT_EQ(removeCoolant(huge + " M8"), "G1 X1");
}
