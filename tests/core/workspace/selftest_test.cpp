#include "workspace/selftest.h"

#include <gtest/gtest.h>

namespace {

// The report's fixed lines around the payload line, as a reader checks them.
const char *const kHead = "=== VARN Edit · auto-prueba ===\n"
                          "Rango de ejes:\n"
                          "  X  min 0.000  max 60.000  (Δ 60.000)\n"
                          "  Y  min 0.000  max 50.000  (Δ 50.000)\n"
                          "  Z  min -2.500  max 25.000  (Δ 27.500)\n"
                          "Renumerar (N100, +5) — primeras lineas de codigo:\n"
                          "  N100 G21 G17 G40 G49 G80 G90\n"
                          "  N105 G54\n"
                          "  N110 T1 M06 (FRESA PLANA D10)\n"
                          "  N115 S3000 M03\n"
                          "Quitar numeracion N -> quedan lineas con N?: false\n";
const char *const kTail = "Renumerar CRLF -> 3 lineas (esperado 3, sin vacias):\n"
                          "  [N10 G0 X0]\n"
                          "  [N20 G1 X10]\n"
                          "  [N30 M30]\n"
                          "Quitar M8/M08 (M09 se conserva, linea solo-M08 se borra):\n"
                          "  N50 G00 X1.\n"
                          "  N70 G01 X2. M09\n"
                          "Bajar feed 10% (factor 0.9):\n"
                          "  G01 X1. F405.\n"
                          "  G01 Y2. F900\n"
                          "Formatear: [N10 G0 X0 Y0]\n"
                          "Ajustar S +10%: S1100 M3\n"
                          "Quitar M [8,9] (M09 solo -> se borra la línea):\n"
                          "  N10 G0 X0\n"
                          "  N30 G1 X1\n"
                          "Análisis demo: 22 líneas · 1 herr · unidades mm · tiempo 0:32 · avisos 0\n";

TEST(SelfTest, ReportIsByteExactWithTheFirstDefaultMachine)
{
    // 336 characters in 22 lines, each ended by one CR.
    Machine fanuc = Machine::defaults().first();
    ASSERT_EQ(fanuc.lineTerminator, Machine::LineTerminator::cr);
    const QString expected = QString::fromUtf8(kHead) +
                             QStringLiteral("Payload Fanuc: 358 bytes · terminador CR · CR=22\n") +
                             QString::fromUtf8(kTail) + QStringLiteral("Puertos serie detectados: 0 -> \n=== fin ===\n");
    EXPECT_EQ(SelfTest::report({}, Machine::defaults()).toStdString(), expected.toStdString());
}

TEST(SelfTest, WithoutDefaultMachinesThePayloadLineIsLeftOut)
{
    Machine crlf = Machine::defaults().first();
    crlf.name = QStringLiteral("Taller");
    crlf.lineTerminator = Machine::LineTerminator::crlf;
    const QList<SerialPort> ports = {{QStringLiteral("/dev/ttyUSB0"), {}}, {QStringLiteral("/dev/cu.usbserial-7"), {}}};
    const QString ending = QStringLiteral("Puertos serie detectados: 2 -> ttyUSB0, usbserial-7\n=== fin ===\n");

    EXPECT_EQ(SelfTest::report(ports, {}).toStdString(),
              (QString::fromUtf8(kHead) + QString::fromUtf8(kTail) + ending).toStdString());
    EXPECT_TRUE(SelfTest::report(ports, {crlf}).contains(
        QStringLiteral("\nPayload Taller: 380 bytes · terminador CRLF · CR=22\nRenumerar CRLF")));
}

} // namespace
