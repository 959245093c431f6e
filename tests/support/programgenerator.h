#pragma once

#include <QString>

#include <cstdint>

// Deterministic generator of realistic milling programs for tests and benchmarks:
// "%", an O number, a comment header, tool changes with comments, S/M03, G43 H,
// long 3-D surfacing runs with G02/G03 arcs and an N number on every block.
// The same size and seed always give the same text.
//
// With `toolpathMix` the program exercises an interpreter as well: every arc
// ends on its circle, each tool also cuts G02/G03 arcs in the ZX and YZ planes,
// drills a few holes with canned cycles (G98 and G99) and calls subprogram
// O0100 with M98, which follows the M30.
namespace ProgramGenerator {
// About `bytes` characters of program (it stops at the first block boundary past it).
QString milling(qint64 bytes, quint32 seed = 20261121, bool crlf = false, bool toolpathMix = false);
} // namespace ProgramGenerator
