// The fast tokeniser must read every program exactly as the plain regular
// expressions do: held to the reference analyzer on a large generated corpus,
// on the lines that have tripped tokenisers before and on random programs
// built from the awkward pieces real files hold.

#include "programanalyzer_reference.h"

#include "nc/programanalyzer.h"
#include "programgenerator.h"

#include <gtest/gtest.h>

#include <random>

namespace {

QString differenceFromReference(const QString &text, AppLanguage language = AppLanguage::english)
{
    return ReferenceAnalyzer::difference(ProgramAnalyzer::analyze(text, language),
                                         ReferenceAnalyzer::analyze(text, language));
}

// A number as a program may write it: sign, up to 60 digits, a dot anywhere or none.
QString randomNumber(std::mt19937 &rng)
{
    QString text = rng() % 3 ? QString() : QString(rng() % 2 ? u'-' : u'+');
    const int digits = 1 + int(rng() % (rng() % 20 ? 19 : 60));
    const int dot = int(rng() % (digits + 2)) - 1;
    for (int d = 0; d <= digits; ++d) {
        text += d == dot ? QStringLiteral(".") : QString();
        text += d < digits ? QString(QChar(char16_t(u'0' + rng() % 10))) : QString();
    }
    return text;
}

} // namespace

TEST(AnalyzerScanner, GeneratedCorpusMatchesTheReference)
{
    for (quint32 seed : {1u, 2u, 3u}) {
        const QString program = ProgramGenerator::milling(120'000, seed, seed == 2);
        QString spaced = program;
        const QString variants[] = {program, program.toLower(), spaced.replace(u' ', QChar(0x2003)),
                                    QString(program).replace("G90", "G91 G20")};
        for (const QString &variant : variants) {
            for (const AppLanguage language : {AppLanguage::english, AppLanguage::spanish}) {
                const QString diff = differenceFromReference(variant, language);
                EXPECT_TRUE(diff.isEmpty()) << "seed " << seed << "\n" << diff.toStdString();
            }
        }
    }
}

TEST(AnalyzerScanner, NastyLinesAndRandomProgramsMatchTheReference)
{
    QStringList nasty = {
        "g1 x1.5 y-.5 z+.5 f100.", "X 1.5", QStringLiteral("X\t \u00A0\u20031.5"),
        QStringLiteral("X\v1\fY\u00852\u20283"), ".5 -.5 +.5 1. X. X.5 X-. X+-1 X--1 X1.2.3", "G1 (unclosed X5",
        "G1 (a;b) X1", "(a;b) X1", "; (a) X1", "X1 ; foo ( bar ) X2", "X(comment)5 Y( a )( b )-6", "X(unclosed 5",
        "((nested) X7) Y8", "(a) b) X9 (c", QStringLiteral("X\u0661\u0662 Y\U0001D7D9 Z3"), "G05.1 M008 G28.1 T01 T2",
        "G-1 G+1 G.5 M-0 T+.5", "N10G01X1.5F200(ROUGH)", "XYZ12 ABC", QStringLiteral("\u00A0\u2003(indented comment)"),
        "   ;   semicolon   ", "", "%", QStringLiteral("\u00E9X1 \u00DFY2 \uFEFFZ3"),
        "X99999999999999999999999999 Y0.0000000000000000000000000000001 Z9007199254740993",
        "X1" + QString(400, u'0') + " Y0." + QString(400, u'0') + "1 Z0." + QString(323, u'0') + "5",
    };
    // Every white-space character of the BMP between a letter and its number,
    // before a comment and before a program number.
    for (char16_t c = 1; c < 0xD800; ++c) {
        if (QChar::isSpace(c) || QChar::category(c) == QChar::Separator_Space) {
            nasty << QStringLiteral("X%1%1-2 Y%1.5").arg(QChar(c)) << QString(QChar(c)) + "(c)" + QChar(c)
                  << QString(QChar(c)) + "O7" + QChar(c);
        }
    }
    for (const QString &line : nasty) {
        EXPECT_TRUE(differenceFromReference(line).isEmpty()) << line.toStdString();
    }
    EXPECT_TRUE(differenceFromReference(nasty.join(u'\n')).isEmpty());
    EXPECT_TRUE(differenceFromReference(nasty.join("\r\n"), AppLanguage::spanish).isEmpty());
    EXPECT_TRUE(differenceFromReference(nasty.join(u'\r')).isEmpty());

    const QStringList pieces = {
        "G", "g", "M", "m", "X", "x", "Y", "Z", "F", "S", "T", "t", "O", "o", "N", "I", "%", " ", " ", "\t",
        QStringLiteral("\u00A0"), QStringLiteral("\u2003"), "\v", "\f", QStringLiteral("\u0085"),
        QStringLiteral("\u2028"), "(", ")", ";", ".", "+", "-", "0", "1", "5", "01", "05.1", "008", "28.1",
        "20", "21", "90", "91", "3", "4", "30", "2", "0.", ".5", "-7.25", QStringLiteral("\u0661\u0662"),
        QStringLiteral("\U0001D7D9"), "\r", "\n", "\n", "\r\n", QStringLiteral("\u00E9"), "FACE MILL", "1e5", ""};
    std::mt19937 rng(20261121);
    for (int i = 0; i < 20000; ++i) {
        QString program = "X" + randomNumber(rng) + u'\n';
        for (int k = int(rng() % 40); k > 0; --k) {
            const QString &piece = pieces[rng() % pieces.size()];
            program += piece.isEmpty() ? randomNumber(rng) : piece;
        }
        const QString diff = differenceFromReference(program);
        ASSERT_TRUE(diff.isEmpty()) << diff.toStdString() << "\nprogram: " << program.toStdString();
    }
    // The yardstick itself sees a difference in any one fact.
    const ProgramAnalysis a = ProgramAnalyzer::analyze("T1 (A)\nX1", AppLanguage::english);
    for (const char *other : {"T1 (B)\nX1", "T1 (A)\nX1.0000000000000002", "T01 (A)\nX1", "T1 (A)\nX1\n"}) {
        EXPECT_FALSE(ReferenceAnalyzer::difference(a, ProgramAnalyzer::analyze(other, AppLanguage::english)).isEmpty());
    }
}
