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
}
