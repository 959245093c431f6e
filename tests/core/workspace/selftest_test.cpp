#include "workspace/selftest.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

// The whole report with the default machines and no ports, as a reader checks it.
QString expectedReport()
{
    QFile file(QStringLiteral(VARN_SOURCE_DIR "/tests/data/selftest/report.txt"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

const QString kPayloadLine = QStringLiteral("Payload Fanuc: 358 bytes · terminador CR · CR=22\n");

TEST(SelfTest, ReportIsByteExactWithTheFirstDefaultMachine)
{
    // 336 characters in 22 lines, each ended by one CR.
    ASSERT_EQ(Machine::defaults().first().lineTerminator, Machine::LineTerminator::cr);
    ASSERT_TRUE(expectedReport().contains(kPayloadLine));
    EXPECT_EQ(SelfTest::report({}, Machine::defaults()).toStdString(), expectedReport().toStdString());
}

TEST(SelfTest, WithoutDefaultMachinesThePayloadLineIsLeftOut)
{
    Machine crlf = Machine::defaults().first();
    crlf.name = QStringLiteral("Taller");
    crlf.lineTerminator = Machine::LineTerminator::crlf;
    const QList<SerialPort> ports = {{QStringLiteral("/dev/ttyUSB0"), {}}, {QStringLiteral("/dev/cu.usbserial-7"), {}}};
    const QString expected = expectedReport().remove(kPayloadLine).replace(
        QStringLiteral("detectados: 0 -> \n"), QStringLiteral("detectados: 2 -> ttyUSB0, usbserial-7\n"));
    EXPECT_EQ(SelfTest::report(ports, {}).toStdString(), expected.toStdString());
    EXPECT_TRUE(SelfTest::report(ports, {crlf}).contains(
        QStringLiteral("\nPayload Taller: 380 bytes · terminador CRLF · CR=22\nRenumerar CRLF")));
}

} // namespace
