// The fast tokeniser must read every program exactly as the plain regular
// expressions do. These tests hold it to the reference analyzer on generated
// programs, on random programs built from the awkward pieces real files hold,
// and piece by piece (tokens, comments, numbers, blanks).

#include "programanalyzer_reference.h"

#include "nc/analyzerscanner.h"
#include "nc/programanalyzer.h"
#include "programgenerator.h"

#include <QRegularExpression>
#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

void expectSameAsReference(const QString &text, AppLanguage language = AppLanguage::english)
{
    const QString diff = ReferenceAnalyzer::difference(ProgramAnalyzer::analyze(text, language),
                                                       ReferenceAnalyzer::analyze(text, language));
    EXPECT_TRUE(diff.isEmpty()) << diff.toStdString() << "\nprogram: " << text.left(400).toStdString();
}

QList<QPair<QString, QString>> scannerTokens(const QString &line)
{
    QList<QPair<QString, QString>> found;
    for (const AnalyzerScan::Token &token : AnalyzerScan::tokens(line)) {
        found.append({QString(token.letter), token.value.toString()});
    }
    return found;
}

// The lines that have tripped tokenisers before, one per row.
const char16_t *const kNastyLines[] = {
    u"g1 x1.5 y-.5 z+.5 f100.",
    u"X 1.5",
    u"X\t \u00A0\u20031.5",
    u"X\v1\fY\u00852\u20283",
    u".5 -.5 +.5 1. X. X.5 X-. X+-1 X--1 X1.2.3",
    u"G1 (unclosed X5",
    u"G1 (a;b) X1",
    u"(a;b) X1",
    u"; (a) X1",
    u"X1 ; foo ( bar ) X2",
    u"X(comment)5 Y( a )( b )-6",
    u"X(unclosed 5",
    u"((nested) X7) Y8",
    u"(a) b) X9 (c",
    u"X\u0661\u0662 Y\U0001D7D9 Z3",
    u"G05.1 M008 G28.1 T01 T2",
    u"G-1 G+1 G.5 M-0 T+.5",
    u"N10G01X1.5F200(ROUGH)",
    u"X99999999999999999999999999 Y0.0000000000000000000000000000001",
    u"XYZ12 ABC",
    u"\u00A0\u2003(indented comment)",
    u"   ;   semicolon   ",
    u"",
    u"%",
    u"\u00E9X1 \u00DFY2 \uFEFFZ3",
};

} // namespace

TEST(AnalyzerScanner, TokensMatchTheWordPatternOnNastyLines)
{
    for (const char16_t *raw : kNastyLines) {
        const QString line = QString::fromUtf16(raw);
        EXPECT_EQ(scannerTokens(line), ReferenceAnalyzer::codeTokens(line)) << line.toStdString();
        EXPECT_EQ(AnalyzerScan::firstComment(line), ReferenceAnalyzer::firstComment(line)) << line.toStdString();
    }
}

TEST(AnalyzerScanner, WholeAnalysisMatchesOnNastyLines)
{
    QStringList lines;
    for (const char16_t *raw : kNastyLines) {
        lines.append(QString::fromUtf16(raw));
        expectSameAsReference(lines.last());
    }
    expectSameAsReference(lines.join(u'\n'));
    expectSameAsReference(lines.join(QStringLiteral("\r\n")), AppLanguage::spanish);
    expectSameAsReference(lines.join(u'\r'));
}

TEST(AnalyzerScanner, ValuesParseExactlyAsQStringToDouble)
{
    std::mt19937 rng(7);
    const auto check = [](const QString &text) {
        bool ok = false;
        const double expected = text.toDouble(&ok);
        double actual = 0;
        const bool parsed = AnalyzerScan::parseValue(text, &actual);
        ASSERT_EQ(parsed, ok) << text.toStdString();
        if (ok) {
            EXPECT_EQ(std::memcmp(&actual, &expected, sizeof actual), 0)
                << text.toStdString() << " " << actual << " vs " << expected;
        }
    };
    for (const char *text : {"0", "-0", "+0", "-0.", "1.", ".5", "-.5", "+.5", "007", "9007199254740993",
                             "9007199254740992", "0.1", "123456789012345678901234567890"}) {
        check(QString::fromLatin1(text));
    }
    check(QLatin1String("1") + QString(400, u'0'));              // overflow: no value
    check(QLatin1String("0.") + QString(400, u'0') + u'1');      // underflow to zero: no value
    check(QLatin1String("0.") + QString(323, u'0') + u'5');      // subnormal: a value
    for (int i = 0; i < 200000; ++i) {
        QString text;
        if (rng() % 3 == 0) {
            text += (rng() % 2) ? u'-' : u'+';
        }
        const int digits = 1 + int(rng() % (i % 50 == 0 ? 60 : 19));
        const int dot = int(rng() % (digits + 2)) - 1; // -1: no dot
        for (int d = 0; d < digits; ++d) {
            if (d == dot) {
                text += u'.';
            }
            text += QChar(char16_t(u'0' + rng() % 10));
        }
        if (dot == digits) {
            text += u'.';
        }
        check(text);
    }
}

TEST(AnalyzerScanner, BlankAndSpaceSetsAreTheUnicodeOnes)
{
    static const QRegularExpression zs(QStringLiteral("^[\\t\\p{Zs}]$"));
    for (char32_t c = 0; c < 0x10000; ++c) {
        if (QChar::isSurrogate(c)) {
            continue;
        }
        const QString one = QString(QChar(char16_t(c)));
        EXPECT_EQ(AnalyzerScan::isBlank(char16_t(c)), zs.match(one).hasMatch()) << std::hex << unsigned(c);
        // QChar::isSpace is the White_Space property: Z*, tab to carriage return, NEL.
        EXPECT_EQ(AnalyzerScan::isSpace(char16_t(c)), QChar::isSpace(c)) << std::hex << unsigned(c);
    }
}

TEST(AnalyzerScanner, GeneratedMillingProgramsMatch)
{
    for (quint32 seed : {1u, 2u, 3u}) {
        const QString program = ProgramGenerator::milling(120'000, seed, seed == 2);
        expectSameAsReference(program);
        expectSameAsReference(program, AppLanguage::spanish);
        expectSameAsReference(program.toLower());
        QString spaced = program;
        spaced.replace(u' ', QChar(0x2003));
        expectSameAsReference(spaced);
        QString incremental = program;
        incremental.replace(QStringLiteral("G90"), QStringLiteral("G91 G20"));
        expectSameAsReference(incremental);
    }
}

TEST(AnalyzerScanner, RandomProgramsOfAwkwardPiecesMatch)
{
    const QStringList pieces = {
        "G", "g", "M", "m", "X", "x", "Y", "Z", "F", "S", "T", "t", "O", "o", "N", "I", "%", " ", " ", "\t",
        QStringLiteral("\u00A0"), QStringLiteral("\u2003"), "\v", "\f", QStringLiteral("\u0085"),
        QStringLiteral("\u2028"), "(", ")", ";", ".", "+", "-", "0", "1", "5", "01", "05.1", "008", "28.1",
        "20", "21", "90", "91", "3", "4", "30", "2", "0.", ".5", "12.345", "-7.25", "100",
        QStringLiteral("\u0661\u0662"), QStringLiteral("\U0001D7D9"), "\r", "\n", "\n", "\r\n",
        QStringLiteral("\u00E9"), "FACE MILL", "99999999999999999999", "1e5",
        QStringLiteral("0.") + QString(30, u'0') + u'1'};
    std::mt19937 rng(20261121);
    for (int i = 0; i < 20000; ++i) {
        QString program;
        const int count = int(rng() % 40);
        for (int k = 0; k < count; ++k) {
            program += pieces[rng() % pieces.size()];
        }
        const QString diff = ReferenceAnalyzer::difference(ProgramAnalyzer::analyze(program, AppLanguage::english),
                                                           ReferenceAnalyzer::analyze(program, AppLanguage::english));
        ASSERT_TRUE(diff.isEmpty()) << diff.toStdString() << "\nprogram: " << program.toStdString();
    }
}

TEST(AnalyzerScanner, TheYardstickSeesDifferences)
{
    // Without this the equality checks above could pass by comparing nothing.
    const auto a = ProgramAnalyzer::analyze("T1 (A)\nX1", AppLanguage::english);
    EXPECT_TRUE(ReferenceAnalyzer::difference(a, a).isEmpty());
    for (const char *other : {"T1 (B)\nX1", "T1 (A)\nX1.0000000000000002", "T01 (A)\nX1", "T1 (A)\nX1\n"}) {
        EXPECT_FALSE(ReferenceAnalyzer::difference(a, ProgramAnalyzer::analyze(other, AppLanguage::english)).isEmpty())
            << other;
    }
}
