#pragma once

#include "machines/machine.h"

#include <QByteArray>
#include <QString>

#include <vector>

// The bytes a profile puts on the wire, tape framing included: leader and
// trailer NULs, start and end characters, the end of block, the clean-up of
// each line (comments, spaces, blank lines, upper case) and the character code
// (ASCII, whose parity the port adds, or EIA RS-244 with the parity in the
// byte). A pure function of the text and the profile.
//
// A profile that uses none of these options gets exactly
// GCodeSender::preparePayload's bytes, so existing profiles send what they
// always sent.
struct WirePayload {
    QByteArray bytes;
    // Characters the character code cannot carry (EIA has no "#", "=" or
    // DC2); they are left out and counted here so the caller can say so.
    qsizetype unencodable = 0;
};

// Where a line of the program begins on the wire.
struct WireBlock {
    qint64 offset = 0; // of its first byte in the payload
    int line = 0;      // 1-based, in the program text
};

class WireFormat {
public:
    // With `blocks`, also where each line that goes out begins, in order (a
    // stripped line has none), to follow a transfer line by line.
    static WirePayload build(const QString &content, const Machine &machine, std::vector<WireBlock> *blocks = nullptr);
    // The line being received once `bytesSent` bytes are out: the framing
    // before the first block counts as its line.
    static int lineAtByte(const std::vector<WireBlock> &blocks, qint64 bytesSent);

    // True when any option that changes the payload or its pacing is set.
    static bool usesOptions(const Machine &machine);

    // What ends each block on the wire: the EIA end-of-block code, the
    // profile's override, or its line terminator.
    static QByteArray blockEnd(const Machine &machine);

    // One line of the program after the profile's clean-up (comments, spaces,
    // upper case), before any encoding.
    static QString cleanLine(QStringView line, const Machine &machine);

    // The payload for a person: printable characters as they are, control
    // characters as <NUL>, <DC2>, <CR>, ..., a line break after every block
    // end (shown as ⏎ when it is one byte the reader would not see). EIA
    // bytes are shown as the characters they code.
    static QString visible(const QByteArray &bytes, const Machine &machine);
};
