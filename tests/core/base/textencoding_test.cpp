// The code pages: every byte comes back as it was, a save refuses what a code
// page cannot hold, and the likeliest code page of a sample comes first.
#include "base/encodingguess.h"
#include "base/textfile.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

using E = TextEncoding;

TEST(TextEncodings, EveryByteOfEveryCodePageRoundTripsAndKnownBytesReadAsTheirCharacters)
{
    const struct {
        E encoding;
        QList<int> undefined;
        QList<std::pair<int, char16_t>> known; // byte, character
    } cases[] = {
        {E::windows1252, {0x81, 0x8D, 0x8F, 0x90, 0x9D}, {{0x80, u'€'}, {0xC7, u'Ç'}, {0x9F, u'Ÿ'}}},
        {E::iso88591, {}, {{0x80, u'\u0080'}, {0xC3, u'Ã'}, {0xFF, u'ÿ'}}},
        {E::cp850, {}, {{0x80, u'Ç'}, {0xC7, u'Ã'}, {0xE5, u'Õ'}, {0xF8, u'°'}, {0x9D, u'Ø'}}},
        {E::cp437, {}, {{0x80, u'Ç'}, {0xC7, u'╟'}, {0xA5, u'Ñ'}, {0xE1, u'ß'}}},
        {E::windows1251, {0x98}, {{0xC0, u'А'}, {0xFF, u'я'}, {0xA8, u'Ё'}}},
        {E::koi8r, {}, {{0xC1, u'а'}, {0xE1, u'А'}, {0xA3, u'ё'}}},
    };
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte) {
        all.append(char(byte));
    }
    for (const auto &c : cases) {
        SCOPED_TRACE(TextEncodings::name(c.encoding).toStdString());
        const QString text = TextEncodings::decode(all, c.encoding);
        ASSERT_EQ(text.size(), 256);
        EXPECT_EQ(QSet<QChar>(text.begin(), text.end()).size(), 256) << "two bytes read as one character";
        EXPECT_EQ(text.left(128), QString::fromLatin1(all.left(128))) << "ASCII reads as ASCII";
        const TextEncodings::Encoded back = TextEncodings::encode(text, c.encoding);
        EXPECT_TRUE(back.ok());
        EXPECT_EQ(back.bytes, all);
        EXPECT_EQ(TextEncodings::decodeToUtf8(all, c.encoding), text.toUtf8());
        for (int byte = 0; byte < 256; ++byte) {
            EXPECT_EQ(TextEncodings::defines(c.encoding, uchar(byte)), !c.undefined.contains(byte)) << byte;
        }
        for (const int byte : c.undefined) {
            EXPECT_EQ(text[byte].unicode(), byte) << "an undefined byte reads as its C1 control";
        }
        for (const auto &[byte, character] : c.known) {
            EXPECT_EQ(text[byte], QChar(character)) << byte;
        }
    }
    for (const char *name : {"cp850", "IBM850", "Windows-1252", "latin1", "koi8_r", "UTF-8", "cp1251"}) {
        EXPECT_TRUE(TextEncodings::fromName(QString::fromLatin1(name))) << name;
    }
    EXPECT_FALSE(TextEncodings::fromName(u"ebcdic"));
}

TEST(TextEncodings, ASaveRefusesACharacterTheCodePageCannotHoldNamingItsLineAndWritesNothing)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("p.nc");
    const auto read = [&] {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    };
    const QString text = QStringLiteral("%\r\nG0 X1\r(FURAÇÃO)\n(€ 20)\n");
    EXPECT_EQ(TextFile::writeAtomically(path, text, E::windows1252, AppLanguage::english), QString());
    const QByteArray written = read();
    EXPECT_EQ(TextEncodings::decode(written, E::windows1252), text);
    EXPECT_EQ(TextFile::writeAtomically(path, text, E::cp850, AppLanguage::english),
              "Line 4 holds \u201C€\u201D, which CP850 cannot hold. Nothing was saved; change that character and "
              "save again.");
    const QString emoji = text + QStringLiteral("\U0001F600");
    EXPECT_TRUE(TextFile::writeAtomically(path, emoji, E::windows1252, AppLanguage::spanish).contains("\U0001F600"));
    EXPECT_EQ(read(), written);
}

TEST(EncodingGuess, TheCodePageAProgramWasWrittenInComesFirst)
{
    const struct {
        const char *text;
        E writtenIn;
    } cases[] = {
        {"N10 (FURAÇÃO - PEÇA Nº 12)\nN20 (ATENÇÃO: POSIÇÃO)\n", E::cp850},
        {"N10 (FURAÇÃO - PEÇA Nº 12)\nN20 (ATENÇÃO: POSIÇÃO)\n", E::windows1252},
        {"(AÑO 2024 - ÁNGULO DE 30°)\n(REVISIÓN: JOSÉ)\n", E::cp850},
        {"T1 M6 (ФРЕЗА КОНЦЕВАЯ D10)\nN20 (ЧИСТОВАЯ ОБРАБОТКА)\n", E::windows1251},
        {"T1 M6 (Фреза концевая D10)\n(черновая обработка кармана)\n", E::windows1251},
        {"T1 M6 (ФРЕЗА КОНЦЕВАЯ D10)\nN20 (ЧИСТОВАЯ ОБРАБОТКА)\n", E::koi8r},
        {"T1 M6 (Фреза концевая D10)\n(черновая обработка кармана)\n", E::koi8r},
    };
    for (const auto &c : cases) {
        const QByteArray bytes = TextEncodings::encode(QString::fromUtf8(c.text), c.writtenIn).bytes;
        const QList<E> ranked = EncodingGuess::rank(EncodingSample::fromBytes(bytes));
        EXPECT_EQ(ranked.first(), c.writtenIn) << c.text << " in " << TextEncodings::name(c.writtenIn).toStdString();
        EXPECT_EQ(ranked.size(), TextEncodings::legacy().size());
    }
    EXPECT_EQ(EncodingGuess::rank({}), TextEncodings::legacy());
    const EncodingSample sample = EncodingSample::fromBytes("G0\r\n(\xC7)\rG1\n\n(\x80)");
    ASSERT_EQ(sample.lines.size(), 2);
    EXPECT_EQ(sample.lines[0].number, 2);
    EXPECT_EQ(sample.lines[1].number, 5);
    EXPECT_EQ(sample.lines[1].bytes, "(\x80)");
}

} // namespace
