#include "serialportscanner.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace {

bool hasDigitsFrom(const QString &name, qsizetype from)
{
    if (name.size() <= from) {
        return false;
    }
    for (qsizetype i = from; i < name.size(); ++i) {
        if (!name.at(i).isDigit()) {
            return false;
        }
    }
    return true;
}

bool isUsbName(const QString &name)
{
    return (name.startsWith(QLatin1String("ttyUSB")) || name.startsWith(QLatin1String("ttyACM"))) &&
           hasDigitsFrom(name, 6);
}

// Prefixes of the UART drivers found on PCs and single-board computers: 8250/16550,
// PL011 (Raspberry Pi), i.MX, OMAP, Samsung, Tegra, Qualcomm, Zynq, i.MX LPUART,
// SuperH SCI, Amlogic.
bool isOnBoardUartName(const QString &name)
{
    static const char *const prefixes[] = {"ttyAMA", "ttymxc", "ttySAC", "ttyTHS", "ttyMSM", "ttyPS",
                                           "ttyLP",  "ttySC",  "ttyAML", "ttyO",   "ttyS"};
    for (const char *prefix : prefixes) {
        const QLatin1String p(prefix);
        if (name.startsWith(p)) {
            return hasDigitsFrom(name, p.size());
        }
    }
    return false;
}

bool isFilteredOut(const QString &name)
{
    return name.contains(QLatin1String("Bluetooth")) ||
           name.contains(QLatin1String("debug"), Qt::CaseInsensitive) || name.contains(QLatin1String("wlan"));
}

QString readSmallFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(file.read(4096)).trimmed();
}

// The 8250 driver registers ttyS0..ttyS31 whether or not a UART answers at the
// address; the placeholders report port type 0 (unknown). So: a bound driver is
// required, and where the serial core publishes a type, it must not be 0.
bool sysfsShowsRealPort(const QString &sysfsDir, const QString &name)
{
    const QString node = sysfsDir + QLatin1Char('/') + name;
    if (!QFileInfo::exists(node + QLatin1String("/device/driver"))) {
        return false;
    }
    const QString typePath = node + QLatin1String("/type");
    if (QFileInfo::exists(typePath)) {
        bool ok = false;
        const int type = readSmallFile(typePath).toInt(&ok);
        return ok && type != 0;
    }
    return true;
}

// Canonical device path -> label, from the persistent by-id links.
QHash<QString, QString> labelsById(const QString &byIdDir)
{
    QHash<QString, QString> labels;
    const QDir dir(byIdDir);
    const QStringList links = dir.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QString &link : links) {
        const QString target = QFileInfo(dir.filePath(link)).canonicalFilePath();
        if (!target.isEmpty() && !labels.contains(target)) {
            labels.insert(target, SerialPortScanner::labelFromById(link));
        }
    }
    return labels;
}

} // namespace

int SerialPortScanner::rank(const QString &name)
{
    if (name.contains(QLatin1String("usbserial")) || name.startsWith(QLatin1String("ttyUSB"))) {
        return 0;
    }
    if (name.contains(QLatin1String("usbmodem")) || name.startsWith(QLatin1String("ttyACM"))) {
        return 1;
    }
    // "URT" stays upper-case and exact: "UART" does not contain it, and the lists users know depend on that.
    if (name.contains(QLatin1String("URT")) || name.contains(QLatin1String("serial"))) {
        return 2;
    }
    return 3;
}

QStringList SerialPortScanner::consoleNames(const QString &sysfsDir, const QString &procConsoles)
{
    QStringList names;
    const QString active = readSmallFile(sysfsDir + QLatin1String("/console/active"));
    for (const QString &name : active.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!names.contains(name)) {
            names.append(name);
        }
    }
    // Each line starts with the device name: "ttyS0                -W- (EC p a)    4:64".
    const QString consoles = readSmallFile(procConsoles);
    for (const QString &line : consoles.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString name = line.section(QLatin1Char(' '), 0, 0, QString::SectionSkipEmpty);
        if (!name.isEmpty() && !names.contains(name)) {
            names.append(name);
        }
    }
    return names;
}

QString SerialPortScanner::labelFromById(const QString &byIdName)
{
    QString label = byIdName;
    static const QRegularExpression bus(QStringLiteral("^(usb|pci|platform)-"));
    static const QRegularExpression interfaceSuffix(QStringLiteral("(-if[0-9A-Fa-f]+)?(-port[0-9]+)?$"));
    label.remove(bus);
    label.remove(interfaceSuffix);
    label.replace(QLatin1Char('_'), QLatin1Char(' '));
    return label.simplified();
}

QList<SerialPort> SerialPortScanner::available(const QString &deviceDir, const QString &sysfsDir,
                                               const QString &byIdDir, const QString &procConsoles)
{
    const QDir dir(deviceDir);
    const QStringList names = dir.entryList(QDir::Files | QDir::System | QDir::NoDotAndDotDot);
    if (names.isEmpty()) {
        return {};
    }
    const QStringList consoles = consoleNames(sysfsDir, procConsoles);
    const QHash<QString, QString> labels = labelsById(byIdDir);

    QList<SerialPort> ports;
    for (const QString &name : names) {
        bool admitted = false;
        if (name.startsWith(QLatin1String("cu."))) {
            admitted = true;
        } else if (isUsbName(name)) {
            admitted = !consoles.contains(name);
        } else if (isOnBoardUartName(name)) {
            admitted = !consoles.contains(name) && sysfsShowsRealPort(sysfsDir, name);
        }
        if (!admitted || isFilteredOut(name)) {
            continue;
        }
        const QString path = deviceDir + QLatin1Char('/') + name;
        const QString canonical = QFileInfo(path).canonicalFilePath();
        ports.append(SerialPort{path, labels.value(canonical.isEmpty() ? path : canonical)});
    }

    std::stable_sort(ports.begin(), ports.end(), [](const SerialPort &a, const SerialPort &b) {
        const int ra = rank(a.path.section(QLatin1Char('/'), -1));
        const int rb = rank(b.path.section(QLatin1Char('/'), -1));
        if (ra != rb) {
            return ra < rb;
        }
        return a.path < b.path;
    });
    return ports;
}
