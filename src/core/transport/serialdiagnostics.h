#pragma once

#include "base/l10n.h"

#include <QList>
#include <QString>
#include <QStringList>

// One thing on this PC that makes a USB serial adapter lose bytes or vanish.
struct SerialDiagnostic {
    enum class Kind {
        ftdiLatency,     // an FTDI adapter waits up to its latency timer before passing on what it received
        modemManager,    // ModemManager runs and may probe this ttyACM port with AT commands
        brlttyInstalled, // brltty may take this CH340/CH341 adapter the next time it is plugged in
        brlttyClaimed,   // a CH340/CH341 adapter is plugged in but brltty took it: it has no port
    };

    Kind kind = Kind::ftdiLatency;
    QString device;     // "ttyUSB0"; empty for a finding about no port in particular
    int latencyMs = 0;  // ftdiLatency: the timer's value
    QString sysfsFile;  // ftdiLatency: the file that sets it

    QString description(AppLanguage language) const;
    bool operator==(const SerialDiagnostic &) const = default;
};

// Where the diagnostics look; tests point these at a staged tree.
struct SystemRoots {
    QString sysfs = QStringLiteral("/sys");
    QString proc = QStringLiteral("/proc");
    QString udevData = QStringLiteral("/run/udev/data");
    QStringList udevRules = {QStringLiteral("/etc/udev/rules.d"), QStringLiteral("/lib/udev/rules.d"),
                             QStringLiteral("/usr/lib/udev/rules.d")};
};

// Looks for the three traps of USB serial adapters on Linux, read-only, from
// sysfs, /proc, udev's device database and udev's rule folders. Stateless;
// never fails: what cannot be read is taken as fine. The roots are parameters
// so tests can stage a fake system.
class SerialDiagnostics {
public:
    using Roots = SystemRoots;

    // Findings about one device ("/dev/ttyUSB0" or a by-id link to it); none
    // for a network port.
    static QList<SerialDiagnostic> forPort(const QString &devicePath, const Roots &roots = Roots());
    // Findings about adapters that have no port to pick.
    static QList<SerialDiagnostic> forSystem(const Roots &roots = Roots());
};
