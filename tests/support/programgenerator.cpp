#include "programgenerator.h"

#include <random>

namespace {

// Appends a fixed-point number with `decimals` digits, the way CAM post-processors write them.
void appendNumber(QString &out, double value, int decimals)
{
    out += QString::number(value, 'f', decimals);
}

} // namespace

QString ProgramGenerator::milling(qint64 bytes, quint32 seed, bool crlf)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> step(-0.8, 0.8);
    std::uniform_int_distribution<int> percent(0, 99);
    const QString eol = crlf ? QStringLiteral("\r\n") : QStringLiteral("\n");

    QString out;
    out.reserve(bytes + 256);
    qint64 n = 10;
    auto block = [&](const QString &text) {
        out += QLatin1Char('N');
        out += QString::number(n);
        out += QLatin1Char(' ');
        out += text;
        out += eol;
        n += 1;
    };

    out += QStringLiteral("%") + eol;
    out += QStringLiteral("O1234 (SURFACE FINISH - GENERATED)") + eol;
    out += QStringLiteral("(MATERIAL: ALUMINIUM 6061)") + eol;
    out += QStringLiteral("(POST: GENERIC FANUC  ;  UNITS MM)") + eol;
    block(QStringLiteral("G21 G17 G40 G49 G80 G90"));
    block(QStringLiteral("G54"));

    int tool = 0;
    double x = 0, y = 0, z = 5;
    while (out.size() < bytes) {
        tool = tool % 12 + 1;
        block(QStringLiteral("T%1 M06 (BALL MILL D%2 R%3)").arg(tool).arg(tool * 2).arg(tool));
        block(QStringLiteral("S%1 M03").arg(8000 + tool * 500));
        block(QStringLiteral("G43 H%1 Z25.").arg(tool, 2, 10, QLatin1Char('0')));
        block(QStringLiteral("G00 X0. Y0."));
        block(QStringLiteral("M08"));
        // One surfacing pass of a few thousand blocks per tool.
        const int moves = 4000;
        for (int i = 0; i < moves && out.size() < bytes; ++i) {
            x += step(rng) * 10;
            y += step(rng) * 10;
            z = -std::abs(step(rng)) * 3;
            QString text;
            text.reserve(48);
            const int kind = percent(rng);
            if (kind < 8) {
                text += (kind < 4) ? QStringLiteral("G02 X") : QStringLiteral("G03 X");
                appendNumber(text, x, 3);
                text += QStringLiteral(" Y");
                appendNumber(text, y, 3);
                text += QStringLiteral(" I");
                appendNumber(text, step(rng) * 5, 3);
                text += QStringLiteral(" J");
                appendNumber(text, step(rng) * 5, 3);
            } else {
                text += QStringLiteral("G01 X");
                appendNumber(text, x, 3);
                text += QStringLiteral(" Y");
                appendNumber(text, y, 3);
                text += QStringLiteral(" Z");
                appendNumber(text, z, 3);
                if (i % 50 == 0) {
                    text += QStringLiteral(" F1200.");
                }
            }
            block(text);
        }
        block(QStringLiteral("G00 Z25. M09"));
        block(QStringLiteral("M05"));
    }
    block(QStringLiteral("G91 G28 Z0."));
    block(QStringLiteral("G28 X0. Y0."));
    block(QStringLiteral("M30"));
    out += QStringLiteral("%") + eol;
    return out;
}
