#pragma once

#include "transport/serialtransport.h"

// Undoes the driver's error marking on received bytes: 0xFF 0x00 c is the
// character c received with a parity or framing error (c is 0x00 for a break),
// 0xFF 0xFF is a genuine 0xFF. A sequence split between two reads is finished
// by the next call, so nothing depends on how the driver chunks the input.
//
// Anything that is not a valid mark (0xFF followed by another byte) is kept as
// it came: data is never dropped for looking odd.
class ParmrkDecoder {
public:
    // Appends the decoded form of `data` to `into`, with the offsets of the
    // damaged characters.
    void decode(const char *data, qsizetype size, ReceivedBytes &into);
    // Back to the start of a stream (after a new open).
    void reset() { m_pending = 0; }

private:
    // 0 nothing pending, 1 after 0xFF, 2 after 0xFF 0x00.
    int m_pending = 0;
};
