#pragma once

#include <QList>
#include <QString>

// One serial device a program can be sent to. The path identifies it; the label
// is a friendly name for lists (an adapter's make and serial number from
// /dev/serial/by-id), empty when the system gives none.
struct SerialPort {
    QString path;
    QString label;

    friend bool operator==(const SerialPort &a, const SerialPort &b) { return a.path == b.path; }
};
