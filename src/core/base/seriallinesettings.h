#pragma once

// The line settings a transport needs from a machine profile, as the integer
// codes the serial primitives take. Kept apart from the profile so the serial
// side does not depend on how profiles are stored.
struct SerialLineSettings {
    int baudRate = 9600;
    int dataBits = 8;
    int parity = 0;      // 0 none, 1 even, 2 odd, 3 mark, 4 space (mark and space reach the port as none)
    int stopBits = 1;    // 1 or 2
    int flowControl = 0; // 0 none, 1 XON/XOFF, 2 RTS/CTS
    bool dtr = true;
    bool rts = true;
    bool dripFeed = false; // the machine may hold the line for as long as it likes
    // Receiving: characters with a parity or framing error come through marked
    // (see ReceivedBytes) instead of being passed on as if they were sound.
    bool markErrors = false;

    bool operator==(const SerialLineSettings &) const = default;
};
