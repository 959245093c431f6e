#pragma once

#include "transport/serialport.h"

#include <QList>
#include <QString>
#include <QStringList>

// Lists the serial devices present now, most likely USB-to-serial adapters
// first. Stateless; never fails: a folder that cannot be read contributes
// nothing. The folders are parameters so tests can stage fake devices.
//
// Admitted names:
// - "cu.*" call-out devices (the BSD naming), never their "tty.*" twins;
// - ttyUSB* and ttyACM*, the Linux USB adapters and modems;
// - on-board UARTs (ttyS*, ttyAMA*, ttymxc*, ...) only when sysfs shows real
//   hardware behind them and they are not the system console.
// Never the controlling tty, virtual consoles or pseudo-terminals. Names holding
// "Bluetooth", "wlan" or any case of "debug" are dropped.
class SerialPortScanner {
public:
    static QList<SerialPort> available(const QString &deviceDir = QStringLiteral("/dev"),
                                       const QString &sysfsDir = QStringLiteral("/sys/class/tty"),
                                       const QString &byIdDir = QStringLiteral("/dev/serial/by-id"),
                                       const QString &procConsoles = QStringLiteral("/proc/consoles"));

    // 0 USB serial adapter, 1 USB modem (CDC-ACM), 2 other named serial device, 3 anything else.
    static int rank(const QString &name);

    // Device names the kernel writes its console to, from sysfs and /proc/consoles.
    static QStringList consoleNames(const QString &sysfsDir = QStringLiteral("/sys/class/tty"),
                                    const QString &procConsoles = QStringLiteral("/proc/consoles"));

    // "usb-FTDI_FT232R_USB_UART_A50285BI-if00-port0" -> "FTDI FT232R USB UART A50285BI".
    static QString labelFromById(const QString &byIdName);
};
