// The USB adapter diagnostics against a staged sysfs, /proc and udev tree.
#include "transport/serialdiagnostics.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using Kind = SerialDiagnostic::Kind;

namespace {

class FakeSystem {
public:
    FakeSystem()
    {
        roots.sysfs = dir.filePath("sys");
        roots.proc = dir.filePath("proc");
        roots.udevData = dir.filePath("udev-data");
        roots.udevRules = {dir.filePath("rules")};
    }

    void write(const QString &relative, const QByteArray &content)
    {
        const QString path = dir.filePath(relative);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }
    // A USB adapter as the kernel lays it out: device, interface, tty, and the
    // class link to the tty's device folder.
    void plug(const QString &usb, const QByteArray &vendor, const QByteArray &product, const QString &tty,
              const QString &dev)
    {
        const QString device = "sys/devices/usb1/" + usb;
        write(device + "/idVendor", vendor + '\n');
        write(device + "/idProduct", product + '\n');
        QDir().mkpath(dir.filePath("sys/bus/usb/devices"));
        QFile::link(dir.filePath(device), dir.filePath("sys/bus/usb/devices/" + usb));
        if (tty.isEmpty()) {
            return;
        }
        const QString port = device + "/" + usb + ":1.0/" + tty;
        QDir().mkpath(dir.filePath(port));
        write("sys/class/tty/" + tty + "/dev", dev.toUtf8() + '\n');
        QFile::link(dir.filePath(port), dir.filePath("sys/class/tty/" + tty + "/device"));
    }

    QTemporaryDir dir;
    SerialDiagnostics::Roots roots;
};

} // namespace

TEST(SerialDiagnostics, FindsEachTrapOnlyWhereItApplies)
{
    FakeSystem system;
    system.plug("1-1", "0403", "6001", "ttyUSB0", "188:0");   // FTDI at 16 ms
    system.write("sys/devices/usb1/1-1/1-1:1.0/ttyUSB0/latency_timer", "16\n");
    system.plug("1-2", "0403", "6015", "ttyUSB1", "188:1");   // FTDI already at low latency
    system.write("sys/devices/usb1/1-2/1-2:1.0/ttyUSB1/latency_timer", "1\n");
    system.plug("1-3", "2341", "0043", "ttyACM0", "166:0");   // CDC-ACM, probed
    system.plug("1-4", "2341", "0043", "ttyACM1", "166:1");   // CDC-ACM, tagged for ModemManager to ignore
    system.write("udev-data/c166:1", "I:1\nE:ID_MM_DEVICE_IGNORE=1\nG:systemd\n");
    system.plug("1-5", "1a86", "7523", "ttyUSB2", "188:2");   // CH340 with its port
    system.write("proc/812/comm", "ModemManager\n");
    system.write("proc/self/comm", "varn\n");
    system.write("rules/85-brltty.rules", "ENV{PRODUCT}==\"1a86/7523/*\", ENV{BRLTTY_BRAILLE_DRIVER}=\"bm\"\n");

    const QString file = system.roots.sysfs + "/bus/usb-serial/devices/ttyUSB0/latency_timer";
    const struct {
        const char *device;
        QList<SerialDiagnostic> expected;
    } cases[] = {
        {"/dev/ttyUSB0", {{Kind::ftdiLatency, "ttyUSB0", 16, file}}},
        {"/dev/ttyUSB1", {}},
        {"/dev/ttyACM0", {{Kind::modemManager, "ttyACM0", 0, {}}}},
        {"/dev/ttyACM1", {}},
        {"/dev/ttyUSB2", {{Kind::brlttyInstalled, "ttyUSB2", 0, {}}}},
        {"rfc2217://10.0.0.5:4001", {}},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(SerialDiagnostics::forPort(c.device, system.roots), c.expected) << c.device;
    }
    EXPECT_TRUE(SerialDiagnostics::forSystem(system.roots).isEmpty()) << "every CH340 has its port";
    EXPECT_TRUE(SerialDiagnostics::forPort("/dev/ttyUSB0", system.roots)
                    .constFirst()
                    .description(AppLanguage::spanish)
                    .contains("echo 1 | sudo tee " + file));

    // ModemManager gone: the probe warning goes with it.
    QFile::remove(system.roots.proc + "/812/comm");
    EXPECT_TRUE(SerialDiagnostics::forPort("/dev/ttyACM0", system.roots).isEmpty());
}

TEST(SerialDiagnostics, Ch340WithoutAPortIsBlamedOnBrlttyOnlyWhenBrlttyIsThere)
{
    FakeSystem system;
    system.plug("3-1", "1A86", "5523", {}, {});
    EXPECT_TRUE(SerialDiagnostics::forSystem(system.roots).isEmpty());
    system.write("proc/95/comm", "brltty\n");
    const QList<SerialDiagnostic> claimed = {{Kind::brlttyClaimed, {}, 0, {}}};
    EXPECT_EQ(SerialDiagnostics::forSystem(system.roots), claimed);
}
