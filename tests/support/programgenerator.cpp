#include "programgenerator.h"

#include <cmath>
#include <numbers>
#include <random>

namespace {

// Appends a fixed-point number with `decimals` digits, the way CAM post-processors write them.
void appendNumber(QString &out, double value, int decimals)
{
    out += QString::number(value, 'f', decimals);
}

} // namespace

QString ProgramGenerator::milling(qint64 bytes, quint32 seed, bool crlf, bool toolpathMix)
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
            const double fromX = x, fromY = y;
            x += step(rng) * 10;
            y += step(rng) * 10;
            z = -std::abs(step(rng)) * 3;
            QString text;
            text.reserve(48);
            const int kind = percent(rng);
            if (kind < 8 && toolpathMix) {
                // An arc whose end lies on its circle: centre from I J, then a turn.
                const double i0 = step(rng) * 5, j0 = step(rng) * 5;
                const double cx = fromX + i0, cy = fromY + j0;
                const double radius = std::hypot(i0, j0);
                const double turn = (kind < 4 ? -1.0 : 1.0) * (0.2 + std::abs(step(rng)) * 3);
                const double angle = std::atan2(-j0, -i0) + turn;
                x = cx + radius * std::cos(angle);
                y = cy + radius * std::sin(angle);
                text += (kind < 4) ? QStringLiteral("G02 X") : QStringLiteral("G03 X");
                appendNumber(text, x, 4);
                text += QStringLiteral(" Y");
                appendNumber(text, y, 4);
                text += QStringLiteral(" I");
                appendNumber(text, i0, 4);
                text += QStringLiteral(" J");
                appendNumber(text, j0, 4);
                x = std::round(x * 1e4) / 1e4;
                y = std::round(y * 1e4) / 1e4;
            } else if (kind < 8) {
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
        if (toolpathMix) {
            // Quarter arcs in the ZX and YZ planes, a helix, holes and the subprogram.
            block(QStringLiteral("G01 Z0. F800."));
            block(QStringLiteral("G18 G02 X") + QString::number(x + 5, 'f', 3) + QStringLiteral(" Z5. I5. K0."));
            block(QStringLiteral("G03 X") + QString::number(x, 'f', 3) + QStringLiteral(" Z0. I0. K-5."));
            block(QStringLiteral("G19 G02 Y") + QString::number(y + 5, 'f', 3) + QStringLiteral(" Z5. J5. K0."));
            block(QStringLiteral("G03 Y") + QString::number(y, 'f', 3) + QStringLiteral(" Z0. R5."));
            block(QStringLiteral("G17 G03 X") + QString::number(x, 'f', 3) + QStringLiteral(" Y") +
                  QString::number(y, 'f', 3) + QStringLiteral(" Z-1. I3. J0."));
            block(QStringLiteral("G00 Z25."));
            block(QStringLiteral("G99 G81 X10. Y10. Z-5. R2. F300."));
            block(QStringLiteral("X20."));
            block(QStringLiteral("G98 G83 X30. Y10. Z-12. R2. Q3."));
            block(QStringLiteral("G91 X10. K3"));
            block(QStringLiteral("G90 G80"));
            block(QStringLiteral("M98 P100"));
            x = 0;
            y = 0;
        }
        block(QStringLiteral("G00 Z25. M09"));
        block(QStringLiteral("M05"));
    }
    block(QStringLiteral("G91 G28 Z0."));
    block(QStringLiteral("G28 X0. Y0."));
    block(QStringLiteral("M30"));
    if (toolpathMix) {
        out += QStringLiteral("O0100 (POCKET CORNER)") + eol;
        block(QStringLiteral("G00 X0. Y0. Z2."));
        block(QStringLiteral("G01 Z-1. F500."));
        block(QStringLiteral("X12."));
        block(QStringLiteral("G03 X0. Y12. R12."));
        block(QStringLiteral("G01 X0. Y0."));
        block(QStringLiteral("G00 Z25."));
        block(QStringLiteral("M99"));
    }
    out += QStringLiteral("%") + eol;
    return out;
}
