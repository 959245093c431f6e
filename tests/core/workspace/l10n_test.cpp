#include "workspace/l10n.h"

#include <gtest/gtest.h>

TEST(L10n, EnglishIsTheKeyItself)
{
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply");
    EXPECT_EQ(L10n::text("No such key anywhere", AppLanguage::english), "No such key anywhere");
}

TEST(L10n, SpanishComesFromTheTableAndFallsBackToEnglish)
{
    EXPECT_EQ(L10n::text("Apply", AppLanguage::spanish), "Aplicar");
    EXPECT_EQ(L10n::text("No such key anywhere", AppLanguage::spanish), "No such key anywhere");
    // Switching back needs no restart: the lookup keeps no state of the language.
    EXPECT_EQ(L10n::text("Apply", AppLanguage::english), "Apply");
}

TEST(AppLanguage, RawValuesRoundTrip)
{
    for (AppLanguage language : AppLanguages::allCases) {
        AppLanguage back = AppLanguage::english;
        ASSERT_TRUE(AppLanguages::fromRawValue(AppLanguages::rawValue(language), &back));
        EXPECT_EQ(back, language);
    }
    AppLanguage unchanged = AppLanguage::spanish;
    EXPECT_FALSE(AppLanguages::fromRawValue("EN", &unchanged));
    EXPECT_EQ(unchanged, AppLanguage::spanish);
}

TEST(L10n, FillReplacesPlaceholdersInOrderAndNotInsideArguments)
{
    EXPECT_EQ(L10n::fill("Could not open %@: %@", {"/dev/ttyUSB0", "No such file"}),
              "Could not open /dev/ttyUSB0: No such file");
    // An argument that itself holds "%@" is not filled again.
    EXPECT_EQ(L10n::fill("%@ and %@", {"%@", "b"}), "%@ and b");
    EXPECT_EQ(L10n::fill("no placeholder", {"x"}), "no placeholder");
    // printf conversions are placeholders too; "%%" is a literal percent sign.
    EXPECT_EQ(L10n::fill("%@:   min %.4g    max %.4g", {"X", "0", "60"}), "X:   min 0    max 60");
    EXPECT_EQ(L10n::fill("%d%% of %lld", {"5", "7"}), "5% of 7");
}

TEST(L10n, NumbersFollowPrintfWithTheLanguagesDecimalMark)
{
    EXPECT_EQ(L10n::number(60.0, "%.4g", AppLanguage::english), "60");
    EXPECT_EQ(L10n::number(-2.5, "%.4g", AppLanguage::english), "-2.5");
    EXPECT_EQ(L10n::number(-2.5, "%.4g", AppLanguage::spanish), "-2,5");
    EXPECT_EQ(L10n::number(1234567.0, "%.4g", AppLanguage::english), "1.235e+06");
    EXPECT_EQ(L10n::number(12345.0, "%.4g", AppLanguage::spanish), "1,234e+04");
    EXPECT_EQ(L10n::number(0.0005, "%.3f", AppLanguage::english), "0.001");
}
