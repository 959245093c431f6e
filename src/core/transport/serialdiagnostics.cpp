#include "serialdiagnostics.h"

#include "transport/networkaddress.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

// WCH's USB serial bridges: the CH340 and the CH341 in serial mode. brltty's
// udev rule claims exactly these, because some braille displays use them.
const QLatin1String wchVendor("1a86");
const QLatin1String wchSerialProducts[] = {QLatin1String("7523"), QLatin1String("5523")};

QString readSmallFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.read(4096)).trimmed();
}

bool isWchSerial(const QString &vendor, const QString &product)
{
    return vendor.compare(wchVendor, Qt::CaseInsensitive) == 0 &&
           std::any_of(std::begin(wchSerialProducts), std::end(wchSerialProducts),
                       [&](QLatin1String p) { return product.compare(p, Qt::CaseInsensitive) == 0; });
}

// The USB device a tty hangs from: the nearest folder above its device link
// that has a vendor id (the interface and the usb-serial port sit between).
QString usbDeviceOf(const QString &ttyNode)
{
    QString folder = QFileInfo(ttyNode + QLatin1String("/device")).canonicalFilePath();
    for (int up = 0; up < 4 && !folder.isEmpty(); ++up) {
        if (QFileInfo::exists(folder + QLatin1String("/idVendor"))) {
            return folder;
        }
        folder = QFileInfo(folder).path();
    }
    return {};
}

bool processRunning(const QString &procRoot, const QString &name)
{
    const QStringList entries = QDir(procRoot).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        if (!entry.isEmpty() && entry.at(0).isDigit() &&
            readSmallFile(procRoot + QLatin1Char('/') + entry + QLatin1String("/comm")) == name) {
            return true;
        }
    }
    return false;
}

// brltty is installed with its udev rule, or running.
bool brlttyPresent(const SerialDiagnostics::Roots &roots)
{
    for (const QString &folder : roots.udevRules) {
        if (!QDir(folder).entryList({QStringLiteral("*brltty*.rules")}, QDir::Files).isEmpty()) {
            return true;
        }
    }
    return processRunning(roots.proc, QStringLiteral("brltty"));
}

// udev's database marks the device for ModemManager to leave alone.
bool modemManagerIgnores(const QString &ttyNode, const QString &udevData)
{
    const QString numbers = readSmallFile(ttyNode + QLatin1String("/dev"));
    if (numbers.isEmpty()) {
        return false;
    }
    const QString record = readSmallFile(udevData + QLatin1String("/c") + numbers);
    return record.split(QLatin1Char('\n')).contains(QStringLiteral("E:ID_MM_DEVICE_IGNORE=1"));
}

} // namespace

QString SerialDiagnostic::description(AppLanguage language) const
{
    switch (kind) {
    case Kind::ftdiLatency:
        return L10n::format("%@: the FTDI latency timer is %@ ms, which delays every XOFF and received byte. "
                            "VARN Edit asks for low latency when it opens the port; where that is refused, "
                            "set it to 1 ms: echo 1 | sudo tee %@",
                            language, {device, QString::number(latencyMs), sysfsFile});
    case Kind::modemManager:
        return L10n::format("%@: ModemManager is running and may send AT commands to this port when it "
                            "appears. Install VARN Edit's udev rules, or stop ModemManager if this PC has no "
                            "modem (sudo systemctl disable --now ModemManager).",
                            language, {device});
    case Kind::brlttyInstalled:
        return L10n::format("%@: brltty (for braille displays) is installed and may take this CH340/CH341 "
                            "adapter the next time it is plugged in; the port then vanishes. Remove it if no "
                            "braille display is used (sudo apt remove brltty).",
                            language, {device});
    case Kind::brlttyClaimed:
        return L10n::text("A CH340/CH341 USB serial adapter is plugged in but has no port: brltty (for braille "
                          "displays) has taken it. Remove brltty (sudo apt remove brltty), then plug the adapter "
                          "in again.",
                          language);
    }
    return {};
}

QList<SerialDiagnostic> SerialDiagnostics::forPort(const QString &devicePath, const Roots &roots)
{
    if (devicePath.isEmpty() || NetworkAddress::isNetworkPort(devicePath)) {
        return {};
    }
    // A by-id link names the adapter; the kernel knows it by its target's name.
    const QString canonical = QFileInfo(devicePath).canonicalFilePath();
    const QString name = (canonical.isEmpty() ? devicePath : canonical).section(QLatin1Char('/'), -1);
    const QString ttyNode = roots.sysfs + QLatin1String("/class/tty/") + name;

    QList<SerialDiagnostic> found;
    // Only ftdi_sio publishes the timer, on the usb-serial port behind the tty.
    bool ok = false;
    const int latency = readSmallFile(ttyNode + QLatin1String("/device/latency_timer")).toInt(&ok);
    if (ok && latency > 1) {
        found.append({SerialDiagnostic::Kind::ftdiLatency, name, latency,
                      roots.sysfs + QLatin1String("/bus/usb-serial/devices/") + name + QLatin1String("/latency_timer")});
    }
    if (name.startsWith(QLatin1String("ttyACM")) && processRunning(roots.proc, QStringLiteral("ModemManager")) &&
        !modemManagerIgnores(ttyNode, roots.udevData)) {
        found.append({SerialDiagnostic::Kind::modemManager, name, 0, {}});
    }
    const QString usb = usbDeviceOf(ttyNode);
    if (!usb.isEmpty() &&
        isWchSerial(readSmallFile(usb + QLatin1String("/idVendor")), readSmallFile(usb + QLatin1String("/idProduct"))) &&
        brlttyPresent(roots)) {
        found.append({SerialDiagnostic::Kind::brlttyInstalled, name, 0, {}});
    }
    return found;
}

QList<SerialDiagnostic> SerialDiagnostics::forSystem(const Roots &roots)
{
    const QString devices = roots.sysfs + QLatin1String("/bus/usb/devices");
    const QStringList entries = QDir(devices).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System);
    bool orphan = false;
    for (const QString &entry : entries) {
        const QString folder = QFileInfo(devices + QLatin1Char('/') + entry).canonicalFilePath();
        if (folder.isEmpty() || !isWchSerial(readSmallFile(folder + QLatin1String("/idVendor")),
                                             readSmallFile(folder + QLatin1String("/idProduct")))) {
            continue;
        }
        // With ch341 bound, the tty sits under the interface: <device>/<interface>/ttyUSB0.
        bool hasTty = false;
        QDirIterator it(folder, {QStringLiteral("ttyUSB*")}, QDir::Dirs | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        hasTty = it.hasNext();
        orphan = orphan || !hasTty;
    }
    if (orphan && brlttyPresent(roots)) {
        return {{SerialDiagnostic::Kind::brlttyClaimed, {}, 0, {}}};
    }
    return {};
}
