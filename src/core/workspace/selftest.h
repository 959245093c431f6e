#pragma once

#include "machines/machine.h"
#include "transport/serialport.h"

#include <QList>
#include <QString>

class QTextStream;

// The headless check of a build: puts a built-in demo program through the
// text tools, the payload builder and the analyzer, lists the serial devices
// and writes a fixed report in Spanish (never translated; numbers with a
// decimal point). It has no failure path of its own: it prints what the tools
// return and whoever reads the report judges it. It touches no settings,
// documents or files.
namespace SelfTest {

// The demo program: lines joined by "\n", no final line break.
QString demoProgram();

// The report for the given devices and built-in machine profiles (the payload
// line uses the first profile and is left out when there is none). Every line
// ends with "\n".
QString report(const QList<SerialPort> &ports, const QList<Machine> &defaultMachines);

// The report for the devices present now and Machine::defaults(), written to `out`.
void run(QTextStream &out);

} // namespace SelfTest
