#include "workspace/l10n.h"

#include <gtest/gtest.h>

TEST(L10n, EnglishIsTheKeySpanishComesFromTheTableAndUnknownKeysStayEnglish)
{
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply");
    EXPECT_EQ(L10n::text("Apply", AppLanguage::spanish), "Aplicar");
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply"); // the lookup keeps no language state
    EXPECT_EQ(L10n::text("No such key anywhere", AppLanguage::spanish), "No such key anywhere");
    for (AppLanguage language : AppLanguages::allCases) {
        AppLanguage back = AppLanguage::english;
        ASSERT_TRUE(AppLanguages::fromRawValue(AppLanguages::rawValue(language), &back));
        EXPECT_EQ(back, language);
    }
    AppLanguage unchanged = AppLanguage::spanish;
    EXPECT_FALSE(AppLanguages::fromRawValue("EN", &unchanged));
    EXPECT_EQ(unchanged, AppLanguage::spanish);
}

TEST(L10n, FillsPlaceholdersInOrderAndFormatsNumbersWithTheLanguagesDecimalMark)
{
    EXPECT_EQ(L10n::fill("Could not open %@: %@", {"/dev/ttyUSB0", "No such file"}),
              "Could not open /dev/ttyUSB0: No such file");
    EXPECT_EQ(L10n::fill("%@ and %@", {"%@", "b"}), "%@ and b"); // an argument is never filled again
    EXPECT_EQ(L10n::fill("no placeholder", {"x"}), "no placeholder");
    EXPECT_EQ(L10n::fill("%@:   min %.4g    max %.4g", {"X", "0", "60"}), "X:   min 0    max 60");
    EXPECT_EQ(L10n::fill("%d%% of %lld", {"5", "7"}), "5% of 7");
    const std::tuple<double, const char *, AppLanguage, const char *> numbers[] = {
        {60.0, "%.4g", AppLanguage::english, "60"},          {-2.5, "%.4g", AppLanguage::spanish, "-2,5"},
        {1234567.0, "%.4g", AppLanguage::english, "1.235e+06"}, {12345.0, "%.4g", AppLanguage::spanish, "1,234e+04"},
        {0.0005, "%.3f", AppLanguage::english, "0.001"}};
    for (const auto &[value, format, language, text] : numbers) {
        EXPECT_EQ(L10n::number(value, format, language), text) << format;
    }
}
