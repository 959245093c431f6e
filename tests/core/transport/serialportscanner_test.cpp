// Fake /dev, sysfs and by-id trees in a temporary folder: plain files stand in
// for device nodes, folders for sysfs entries.
#include "transport/serialportscanner.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct FakeSystem {
    QTemporaryDir root;
    QString dev = root.path() + "/dev";
    QString sys = root.path() + "/sys";
    QString byId = root.path() + "/dev/serial/by-id";
    QString consoles = root.path() + "/consoles";

    FakeSystem()
    {
        QDir().mkpath(dev);
        QDir().mkpath(sys);
    }

    void devices(const QStringList &names) const
    {
        for (const QString &name : names) {
            QFile file(dev + "/" + name);
            EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        }
    }
    // An on-board UART as sysfs shows it; type < 0 means no type file.
    void sysfsPort(const QString &name, int type, bool driver = true) const
    {
        QDir().mkpath(sys + "/" + name + (driver ? "/device/driver" : "/device"));
        if (type >= 0) {
            write(sys + "/" + name + "/type", QByteArray::number(type) + "\n");
        }
    }
    static void write(const QString &path, const QByteArray &text)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QStringList paths() const
    {
        QStringList out;
        for (const SerialPort &port : SerialPortScanner::available(dev, sys, byId, consoles)) {
            out << port.path.mid(dev.size() + 1);
        }
        return out;
    }
};

} // namespace

TEST(SerialPortScanner, CallOutDevicesFilteredAndRanked)
{
    FakeSystem fake;
    fake.devices(
        {"cu.Bluetooth-Incoming-Port", "cu.debug-console", "cu.usbmodem1101", "cu.usbserial-A50285BI"});
    EXPECT_EQ(fake.paths(), QStringList({"cu.usbserial-A50285BI", "cu.usbmodem1101"}));
}

TEST(SerialPortScanner, FiltersCaseRulesAndTtyTwins)
{
    FakeSystem fake;
    fake.devices({"cu.DEBUG-port", "cu.WLAN-x", "cu.wlan-debug", "cu.wlan0", "tty.usbserial-1410",
                  "cu.usbserial-1410", "cu.MyBluetooth", "cu.bluetooth-x"});
    EXPECT_EQ(fake.paths(), QStringList({"cu.usbserial-1410", "cu.WLAN-x", "cu.bluetooth-x"}));
}

TEST(SerialPortScanner, RankThenPathOrder)
{
    FakeSystem fake;
    fake.devices({"cu.zeta", "cu.alpha", "cu.SLAB_USBtoUART", "cu.USB-URT0", "cu.serial1", "cu.usbmodem2",
                  "cu.usbserial-B", "cu.usbserial-A", "ttyUSB1", "ttyUSB0", "ttyACM0", "cu.uart-lower"});
    EXPECT_EQ(fake.paths(), QStringList({"cu.usbserial-A", "cu.usbserial-B", "ttyUSB0", "ttyUSB1",
                                         "cu.usbmodem2", "ttyACM0", "cu.USB-URT0", "cu.serial1",
                                         "cu.SLAB_USBtoUART", "cu.alpha", "cu.uart-lower", "cu.zeta"}));

    const std::pair<const char *, int> ranks[] = {
        {"cu.usbserial-1410", 0},
        {"ttyUSB3", 0},
        {"cu.usbmodem1101", 1},
        {"ttyACM12", 1},
        {"cu.USB-URT0", 2},
        {"cu.serial", 2},
        {"cu.uart", 3},
        {"cu.SLAB_USBtoUART", 3},
        {"ttyS1", 3},
        {"cu.usbserial-usbmodem", 0},
    };
    for (const auto &[name, rank] : ranks) {
        EXPECT_EQ(SerialPortScanner::rank(name), rank) << name;
    }
}

TEST(SerialPortScanner, LinuxNamesNeverOfferConsolesOrTerminals)
{
    FakeSystem fake;
    fake.devices({"tty", "tty0", "tty63", "ptmx", "console", "ttyUSB", "ttyUSBx", "ttyACM0", "ttyUSB10",
                  "ttyprintk", "null", "ttyS0", "ttyS1", "ttyS2", "ttyS3", "ttyAMA0", "ttySAC2", "ttyXYZ0"});
    QDir().mkpath(fake.dev + "/pts");
    fake.sysfsPort("ttyS0", 4); // a real 16550A, but the kernel's console
    fake.sysfsPort("ttyS1", 4); // a real 16550A
    fake.sysfsPort("ttyS2", 0); // the 8250 driver's placeholder, no UART behind it
    // ttyS3 has no sysfs entry at all
    fake.sysfsPort("ttyAMA0", -1);       // PL011 without a type file: the bound driver is enough
    fake.sysfsPort("ttySAC2", 1, false); // no driver bound
    FakeSystem::write(fake.sys + "/console/active", "tty0 ttyS0\n");

    EXPECT_EQ(fake.paths(), QStringList({"ttyUSB10", "ttyACM0", "ttyAMA0", "ttyS1"}));
}

TEST(SerialPortScanner, ConsoleFromProcConsolesToo)
{
    FakeSystem fake;
    fake.devices({"ttyS1", "ttyAMA0"});
    fake.sysfsPort("ttyS1", 4);
    fake.sysfsPort("ttyAMA0", 1);
    FakeSystem::write(
        fake.consoles,
        "ttyAMA0              -W- (EC p a)  204:64\ntty0                 -WU (E  p  )    4:1\n");
    EXPECT_EQ(SerialPortScanner::consoleNames(fake.sys, fake.consoles), QStringList({"ttyAMA0", "tty0"}));
    EXPECT_EQ(fake.paths(), QStringList({"ttyS1"}));
}

TEST(SerialPortScanner, LabelsFromByIdLinks)
{
    FakeSystem fake;
    fake.devices({"ttyUSB0", "ttyUSB1", "ttyACM0"});
    QDir().mkpath(fake.byId);
    ASSERT_TRUE(
        QFile::link(fake.dev + "/ttyUSB0", fake.byId + "/usb-FTDI_FT232R_USB_UART_A50285BI-if00-port0"));
    ASSERT_TRUE(QFile::link("../../ttyACM0", fake.byId + "/usb-Arduino__www.arduino.cc__0043_7573530-if00"));

    const QList<SerialPort> ports =
        SerialPortScanner::available(fake.dev, fake.sys, fake.byId, fake.consoles);
    ASSERT_EQ(ports.size(), 3);
    EXPECT_EQ(ports[0].path, fake.dev + "/ttyUSB0");
    EXPECT_EQ(ports[0].label, "FTDI FT232R USB UART A50285BI");
    EXPECT_EQ(ports[1].path, fake.dev + "/ttyUSB1");
    EXPECT_EQ(ports[1].label, "");
    EXPECT_EQ(ports[2].label, "Arduino www.arduino.cc 0043 7573530");
}

TEST(SerialPortScanner, UnreadableFolderGivesNothingAndPortsCompareByPath)
{
    EXPECT_TRUE(SerialPortScanner::available("/nonexistent/varn-dev", "/nonexistent/sys",
                                             "/nonexistent/by-id", "/nonexistent/consoles")
                    .isEmpty());
    EXPECT_EQ((SerialPort{"/dev/ttyUSB0", "FTDI"}), (SerialPort{"/dev/ttyUSB0", ""}));
    EXPECT_NE((SerialPort{"/dev/ttyUSB0", "FTDI"}), (SerialPort{"/dev/ttyUSB1", "FTDI"}));
}
