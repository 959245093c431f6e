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
    QString dev = root.path() + "/dev", sys = root.path() + "/sys", byId = dev + "/serial/by-id",
            consoles = root.path() + "/consoles";

    explicit FakeSystem(const QStringList &devices)
    {
        QDir().mkpath(sys);
        QDir().mkpath(byId);
        for (const QString &name : devices) {
            write(dev + "/" + name, {});
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
    QList<SerialPort> ports() const { return SerialPortScanner::available(dev, sys, byId, consoles); }
    QStringList names() const
    {
        QStringList out;
        for (const SerialPort &port : ports()) {
            out << port.path.mid(dev.size() + 1) + (port.label.isEmpty() ? "" : " = " + port.label);
        }
        return out;
    }
};

} // namespace

TEST(SerialPortScanner, CallOutNamesAreFilteredAndRankedThenSortedByPath)
{
    const std::pair<QStringList, QStringList> rows[] = {
        {{"cu.Bluetooth-Incoming-Port", "cu.debug-console", "cu.usbmodem1101", "cu.usbserial-A50285BI"},
         {"cu.usbserial-A50285BI", "cu.usbmodem1101"}},
        {{"cu.DEBUG-port", "cu.WLAN-x", "cu.wlan-debug", "cu.wlan0", "tty.usbserial-1410", "cu.usbserial-1410",
          "cu.MyBluetooth", "cu.bluetooth-x"},
         {"cu.usbserial-1410", "cu.WLAN-x", "cu.bluetooth-x"}},
        {{"cu.zeta", "cu.alpha", "cu.SLAB_USBtoUART", "cu.USB-URT0", "cu.serial1", "cu.usbmodem2", "cu.usbserial-B",
          "cu.usbserial-A", "ttyUSB1", "ttyUSB0", "ttyACM0", "cu.uart-lower"},
         {"cu.usbserial-A", "cu.usbserial-B", "ttyUSB0", "ttyUSB1", "cu.usbmodem2", "ttyACM0", "cu.USB-URT0",
          "cu.serial1", "cu.SLAB_USBtoUART", "cu.alpha", "cu.uart-lower", "cu.zeta"}},
    };
    for (const auto &[devices, expected] : rows) {
        EXPECT_EQ(FakeSystem(devices).names(), expected);
    }
    const std::pair<const char *, int> ranks[] = {
        {"cu.usbserial-1410", 0}, {"ttyUSB3", 0}, {"cu.usbmodem1101", 1}, {"ttyACM12", 1}, {"cu.USB-URT0", 2},
        {"cu.serial", 2},         {"cu.uart", 3}, {"cu.SLAB_USBtoUART", 3}, {"ttyS1", 3}, {"cu.usbserial-usbmodem", 0},
    };
    for (const auto &[name, rank] : ranks) {
        EXPECT_EQ(SerialPortScanner::rank(name), rank) << name;
    }
}

TEST(SerialPortScanner, LinuxNamesNeverOfferConsolesOrTerminalsAndCarryByIdLabels)
{
    FakeSystem fake({"tty", "tty0", "tty63", "ptmx", "console", "ttyUSB", "ttyUSBx", "ttyACM0", "ttyUSB10",
                     "ttyprintk", "null", "ttyS0", "ttyS1", "ttyS2", "ttyS3", "ttyAMA0", "ttySAC2", "ttyXYZ0"});
    QDir().mkpath(fake.dev + "/pts");
    fake.sysfsPort("ttyS0", 4);          // a real 16550A, but the kernel's console
    fake.sysfsPort("ttyS1", 4);          // a real 16550A
    fake.sysfsPort("ttyS2", 0);          // the 8250 driver's placeholder, no UART behind it
    fake.sysfsPort("ttyAMA0", -1);       // PL011 without a type file: the bound driver is enough
    fake.sysfsPort("ttySAC2", 1, false); // no driver bound; ttyS3 has no sysfs entry at all
    FakeSystem::write(fake.sys + "/console/active", "tty0 ttyS0\n");
    ASSERT_TRUE(QFile::link(fake.dev + "/ttyUSB10", fake.byId + "/usb-FTDI_FT232R_USB_UART_A50285BI-if00-port0"));
    ASSERT_TRUE(QFile::link("../../ttyACM0", fake.byId + "/usb-Arduino__www.arduino.cc__0043_7573530-if00"));
    EXPECT_EQ(fake.names(), QStringList({"ttyUSB10 = FTDI FT232R USB UART A50285BI",
                                         "ttyACM0 = Arduino www.arduino.cc 0043 7573530", "ttyAMA0", "ttyS1"}));

    // The console may be named only in /proc/consoles.
    FakeSystem other({"ttyS1", "ttyAMA0"});
    other.sysfsPort("ttyS1", 4);
    other.sysfsPort("ttyAMA0", 1);
    FakeSystem::write(other.consoles, "ttyAMA0              -W- (EC p a)  204:64\ntty0                 -WU (E  p  )    4:1\n");
    EXPECT_EQ(SerialPortScanner::consoleNames(other.sys, other.consoles), QStringList({"ttyAMA0", "tty0"}));
    EXPECT_EQ(other.names(), QStringList({"ttyS1"}));
}

TEST(SerialPortScanner, UnreadableFolderGivesNothingAndPortsCompareByPath)
{
    EXPECT_TRUE(SerialPortScanner::available("/nonexistent/d", "/nonexistent/s", "/nonexistent/b", "/nonexistent/c")
                    .isEmpty());
    EXPECT_EQ((SerialPort{"/dev/ttyUSB0", "FTDI"}), (SerialPort{"/dev/ttyUSB0", ""}));
    EXPECT_NE((SerialPort{"/dev/ttyUSB0", "FTDI"}), (SerialPort{"/dev/ttyUSB1", "FTDI"}));
}
