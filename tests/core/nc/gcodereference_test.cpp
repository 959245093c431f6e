#include "nc/gcodereference.h"

#include <gtest/gtest.h>

TEST(GCodeReference, CanonicalKeyIsTheLeadingAsciiInteger)
{
    const std::pair<const char16_t *, std::optional<int>> cases[] = {
        {u"01", 1},          {u"28.1", 28},       {u"", std::nullopt},      {u"-1", std::nullopt},
        {u"+1", std::nullopt}, {u".5", std::nullopt}, {u"007", 7},           {u"5a", 5},
        {u"0", 0},           {u"2147483647", 2147483647}, {u"2147483648", std::nullopt},
        {u"\u0661", std::nullopt},   // an Arabic-Indic one is a digit, but no integer
        {u"1\u0662", std::nullopt},  // the run includes it, so the whole run is no integer
        {u"\U0001D7D9", std::nullopt},
        {u"00000000000000000000001", 1},
    };
    for (const auto &[text, key] : cases) {
        EXPECT_EQ(GCodeReference::canonicalKey(text), key) << QString::fromUtf16(text).toStdString();
    }
}

TEST(GCodeReference, KnownCodesAreLookedUpByKeyAndLetterAsGiven)
{
    EXPECT_FALSE(GCodeReference::isKnown(u'G', u"05.1"));
    EXPECT_TRUE(GCodeReference::isKnown(u'G', u"28.1"));
    EXPECT_TRUE(GCodeReference::isKnown(u'M', u"008"));
    EXPECT_TRUE(GCodeReference::isKnown(u'G', u"99"));
    EXPECT_FALSE(GCodeReference::isKnown(u'M', u"10"));
    EXPECT_FALSE(GCodeReference::isKnown(u'g', u"1"));
    EXPECT_FALSE(GCodeReference::isKnown(u'T', u"1"));
    EXPECT_FALSE(GCodeReference::isKnown(u'G', u""));
    EXPECT_FALSE(GCodeReference::isKnown(u'G', u"-0"));
}

TEST(GCodeReference, DescriptionsNameTheCodeWithTwoDigitsAndADot)
{
    EXPECT_EQ(GCodeReference::describe(u'G', u"1", AppLanguage::english), "G01 \u00B7 Linear interpolation (cutting)");
    EXPECT_EQ(GCodeReference::describe(u'M', u"30", AppLanguage::english), "M30 \u00B7 End of program and rewind");
    EXPECT_EQ(GCodeReference::describe(u'M', u"008", AppLanguage::english), "M08 \u00B7 Coolant ON");
    EXPECT_EQ(GCodeReference::describe(u'G', u"44", AppLanguage::english),
              QStringLiteral("G44 \u00B7 Tool length compensation (\u2212)"));
    EXPECT_EQ(GCodeReference::describe(u'G', u"96", AppLanguage::english),
              QStringLiteral("G96 \u00B7 Constant surface speed (SFM/m\u00B7min)"));
    EXPECT_EQ(GCodeReference::describe(u'T', u"1", AppLanguage::english), std::nullopt);
    EXPECT_EQ(GCodeReference::describe(u'G', u"5", AppLanguage::english), std::nullopt);
    EXPECT_EQ(GCodeReference::describe(u'G', u"", AppLanguage::english), std::nullopt);
    // Spanish runs the description through the table and keeps the code part.
    EXPECT_EQ(GCodeReference::describe(u'G', u"0", AppLanguage::spanish),
              QStringLiteral("G00 \u00B7 ") + L10n::text("Rapid positioning (non-cutting)", AppLanguage::spanish));
}

TEST(GCodeReference, TablesHoldEveryCodeOnce)
{
    EXPECT_EQ(GCodeReference::gCodes().size(), 46);
    EXPECT_EQ(GCodeReference::mCodes().size(), 16);
    EXPECT_EQ(GCodeReference::gCodes().firstKey(), 0);
    EXPECT_EQ(GCodeReference::gCodes().lastKey(), 99);
    EXPECT_EQ(GCodeReference::mCodes().keys(),
              (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 19, 30, 41, 42, 98, 99}));
    for (int code : GCodeReference::gCodes().keys()) {
        EXPECT_TRUE(GCodeReference::isKnown(u'G', QString::number(code)));
        EXPECT_FALSE(GCodeReference::gCodes()[code].isEmpty());
    }
}
