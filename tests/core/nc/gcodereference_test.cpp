#include "nc/gcodereference.h"

#include <gtest/gtest.h>

TEST(GCodeReference, CanonicalKeyIsTheLeadingAsciiInteger)
{
    const std::pair<const char16_t *, std::optional<int>> cases[] = {
        {u"01", 1}, {u"28.1", 28}, {u"", std::nullopt}, {u"-1", std::nullopt}, {u"+1", std::nullopt},
        {u".5", std::nullopt}, {u"007", 7}, {u"5a", 5}, {u"0", 0}, {u"2147483647", 2147483647},
        {u"2147483648", std::nullopt}, {u"00000000000000000000001", 1},
        // Other scripts' digits are digits of the run, but no integer.
        {u"\u0661", std::nullopt}, {u"1\u0662", std::nullopt}, {u"\U0001D7D9", std::nullopt},
    };
    for (const auto &[text, key] : cases) {
        EXPECT_EQ(GCodeReference::canonicalKey(text), key) << QString::fromUtf16(text).toStdString();
    }
}

TEST(GCodeReference, KnownAndDescribedByKeyAndLetterAsGiven)
{
    const AppLanguage en = AppLanguage::english;
    const struct {
        char16_t letter;
        const char16_t *code;
        std::optional<QString> description; // absent: not known either
    } cases[] = {
        {u'M', u"30", QStringLiteral("M30 \u00B7 End of program and rewind")},
        {u'G', u"44", QStringLiteral("G44 \u00B7 Tool length compensation (\u2212)")},
        {u'G', u"96", QStringLiteral("G96 \u00B7 Constant surface speed (SFM/m\u00B7min)")},
        {u'G', u"99", QStringLiteral("G99 \u00B7 Return to R plane in canned cycle")},
        {u'G', u"05.1", std::nullopt}, {u'M', u"10", std::nullopt}, {u'g', u"1", std::nullopt},
        {u'T', u"1", std::nullopt},    {u'G', u"", std::nullopt},   {u'G', u"-0", std::nullopt},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(QString(QChar(c.letter)).toStdString() + QString::fromUtf16(c.code).toStdString());
        EXPECT_EQ(GCodeReference::isKnown(QChar(c.letter), c.code), c.description.has_value());
        EXPECT_EQ(GCodeReference::describe(QChar(c.letter), c.code, en), c.description);
    }
    EXPECT_EQ(GCodeReference::gCodes().size(), 46);
    EXPECT_EQ(GCodeReference::mCodes().keys(), (QList<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 19, 30, 41, 42, 98, 99}));
    for (int code : GCodeReference::gCodes().keys()) {
        EXPECT_TRUE(GCodeReference::isKnown(u'G', QString::number(code)));
        EXPECT_FALSE(GCodeReference::gCodes()[code].isEmpty());
    }
}
