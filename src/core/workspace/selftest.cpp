#include "selftest.h"

#include "nc/nctools.h"
#include "nc/programanalyzer.h"
#include "transfer/gcodesender.h"
#include "transfer/transfercontroller.h"
#include "transport/serialportscanner.h"

#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>

namespace {

QStringList splitLines(const QString &text)
{
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QString trimBlanks(const QString &line)
{
    qsizetype from = 0;
    qsizetype to = line.size();
    auto blank = [&](qsizetype i) { return line[i] == QLatin1Char(' ') || line[i] == QLatin1Char('\t'); };
    while (from < to && blank(from)) {
        ++from;
    }
    while (to > from && blank(to - 1)) {
        --to;
    }
    return line.mid(from, to - from);
}

// Each entry of `lines` on its own report line, indented by two spaces.
void indented(QString &out, const QStringList &lines)
{
    for (const QString &line : lines) {
        out += QStringLiteral("  ") + line + QLatin1Char('\n');
    }
}

} // namespace

QString SelfTest::demoProgram()
{
    static const QStringList lines = {
        QStringLiteral("%"),
        QStringLiteral("O0001 (DEMO VARN EDIT)"),
        QStringLiteral("(FRESADO DE BOLSILLO - ALUMINIO 6061)"),
        QStringLiteral("N10 G21 G17 G40 G49 G80 G90"),
        QStringLiteral("N20 G54"),
        QStringLiteral("N30 T1 M06 (FRESA PLANA D10)"),
        QStringLiteral("N40 S3000 M03"),
        QStringLiteral("N50 G00 X0. Y0."),
        QStringLiteral("N60 G43 Z25. H01"),
        QStringLiteral("N70 Z5."),
        QStringLiteral("N80 G01 Z-2.5 F150."),
        QStringLiteral("N90 G01 X60. F450."),
        QStringLiteral("N100 G01 Y40."),
        QStringLiteral("N110 G02 X50. Y50. R10."),
        QStringLiteral("N120 G01 X0."),
        QStringLiteral("N130 G01 Y0."),
        QStringLiteral("N140 G00 Z25. M09"),
        QStringLiteral("N150 M05"),
        QStringLiteral("N160 G91 G28 Z0."),
        QStringLiteral("N170 G28 X0. Y0."),
        QStringLiteral("N180 M30"),
        QStringLiteral("%"),
    };
    return lines.join(QLatin1Char('\n'));
}

QString SelfTest::report(const QList<SerialPort> &ports, const QList<Machine> &defaultMachines)
{
    const QString demo = demoProgram();
    QString out;
    auto line = [&out](const QString &text) { out += text + QLatin1Char('\n'); };

    line(QStringLiteral("=== VARN Edit · auto-prueba ==="));

    line(QStringLiteral("Rango de ejes:"));
    for (const NCTools::AxisRange &range :
         NCTools::axisRanges(demo, {QLatin1Char('X'), QLatin1Char('Y'), QLatin1Char('Z')})) {
        line(QStringLiteral("  ") + range.axis +
             QString::asprintf("  min %.3f  max %.3f  (\u0394 %.3f)", range.min, range.max, range.max - range.min));
    }

    line(QStringLiteral("Renumerar (N100, +5) — primeras lineas de codigo:"));
    QStringList numbered = splitLines(NCTools::renumber(demo, 100, 5));
    numbered.removeIf([](const QString &l) { return !l.startsWith(QLatin1Char('N')); });
    indented(out, numbered.mid(0, 4));

    const QStringList stripped = splitLines(NCTools::removeLineNumbers(demo));
    const bool anyN = std::any_of(stripped.cbegin(), stripped.cend(),
                                  [](const QString &l) { return trimBlanks(l).startsWith(QLatin1Char('N')); });
    line(QStringLiteral("Quitar numeracion N -> quedan lineas con N?: ") +
         (anyN ? QStringLiteral("true") : QStringLiteral("false")));

    if (!defaultMachines.isEmpty()) {
        const Machine &machine = defaultMachines.first();
        const QByteArray payload = GCodeSender::preparePayload(demo, machine.lineTerminator);
        line(QStringLiteral("Payload ") + machine.name + QStringLiteral(": ") + QString::number(payload.size()) +
             QStringLiteral(" bytes · terminador ") + Machine::rawValue(machine.lineTerminator) +
             QStringLiteral(" · CR=") + QString::number(payload.count('\r')));
    }

    const QStringList crlfPieces =
        NCTools::renumber(QStringLiteral("N5 G0 X0\r\nG1 X10\r\nM30"), 10, 10).split(QStringLiteral("\r\n"));
    line(QStringLiteral("Renumerar CRLF -> ") + QString::number(crlfPieces.size()) +
         QStringLiteral(" lineas (esperado 3, sin vacias):"));
    for (const QString &piece : crlfPieces) {
        line(QStringLiteral("  [") + piece + QLatin1Char(']'));
    }

    line(QStringLiteral("Quitar M8/M08 (M09 se conserva, linea solo-M08 se borra):"));
    indented(out, splitLines(NCTools::removeCoolant(QStringLiteral("N50 G00 X1. M08\nN60 M08\nN70 G01 X2. M09"))));

    line(QStringLiteral("Bajar feed 10% (factor 0.9):"));
    indented(out, splitLines(NCTools::scaleFeed(QStringLiteral("G01 X1. F450.\nG01 Y2. F1000"), 0.9)));

    line(QStringLiteral("Formatear: [") + NCTools::formatSpacing(QStringLiteral("N10   G0    X0   Y0")) +
         QLatin1Char(']'));

    line(QStringLiteral("Ajustar S +10%: ") + NCTools::scaleSpindle(QStringLiteral("S1000 M3"), 1.1));

    line(QStringLiteral("Quitar M [8,9] (M09 solo -> se borra la línea):"));
    indented(out, splitLines(NCTools::removeMCodes(QStringLiteral("N10 G0 X0 M08\nN20 M09\nN30 G1 X1 M08"), {8, 9})));

    const ProgramAnalysis analysis = ProgramAnalyzer::analyze(demo, AppLanguage::english);
    line(QStringLiteral("Análisis demo: ") + QString::number(analysis.lineCount) + QStringLiteral(" líneas · ") +
         QString::number(analysis.tools.size()) + QStringLiteral(" herr · unidades ") + analysis.units +
         QStringLiteral(" · tiempo ") + analysis.estimatedTimeText().value_or(QStringLiteral("\u2014")) +
         QStringLiteral(" · avisos ") + QString::number(analysis.warnings.size()));
    for (const ProgramAnalysis::Warning &warning : analysis.warnings.mid(0, 4)) {
        line(QStringLiteral("  aviso L") + QString::number(warning.line) + QStringLiteral(": ") + warning.message);
    }

    QStringList names;
    for (const SerialPort &port : ports) {
        names.append(TransferController::endpointName(port.path));
    }
    line(QStringLiteral("Puertos serie detectados: ") + QString::number(ports.size()) + QStringLiteral(" -> ") +
         names.join(QStringLiteral(", ")));

    line(QStringLiteral("=== fin ==="));
    return out;
}

void SelfTest::run(QTextStream &out)
{
    out << report(SerialPortScanner::available(), Machine::defaults());
    out.flush();
}
