#pragma once

#include <array>
#include <optional>

// The modes a program has set by a line, as a restart needs them: figures in
// the program's own units (inches after G20), X as the turning program
// writes it (a diameter, or a radius after G8).
// G codes are kept times ten, as the block reader gives them (G54.1 → 541).
struct ToolpathModalState {
    bool lathe = false;
    bool radiusMode = false; // turning: G8, X written as a radius
    bool inches = false;
    bool unitsSet = false; // a G20 or G21 came before the line
    bool absolute = true;
    bool absoluteCentres = false; // G90.1
    int plane = 17;
    int motion = 0;      // 0, 1, 2 or 3: the G code a block of bare axis words moves with
    int feedMode = 0;    // 930/940/950 in milling, 980/990 in turning; 0 when never set
    double feed = 0;     // 0 when never set
    int workOffset = 0;  // 540 … 590, 541 (with workOffsetP), 591 … 593; 0 when never set
    int workOffsetP = 0;
    int tool = 0;          // the tool in the spindle or turret; 0 when none was set
    int nextTool = 0;      // milling: the tool a T word has called up for the next M6
    long long toolWord = 0; // turning: the T word as written (T0101 → 101) …
    int toolWordDigits = 0; // … and its digits, so it is written back the same way
    int lengthOffset = 0;  // 430, 440 or 490; 0 when never set
    int lengthRegister = 0; // H
    int compensation = 400; // 400, 410 or 420
    int cycle = 0;          // the drilling cycle in force (810 …), 0 when none
    bool turningCycle = false; // a modal turning cycle (G90, G92, G94) is in force
    std::optional<double> spindleSpeed; // S
    std::optional<double> maxSpindleSpeed; // turning: G50 S
    int spindle = 0;        // 3, 4 or 5 (M3, M4, M5); 0 when never set
    bool constantSurfaceSpeed = false; // G96
    bool mist = false;      // M7
    bool flood = false;     // M8
    std::array<double, 3> position{}; // where the previous block left the tool
    std::array<bool, 3> known{};      // which axes of `position` a block has set
    // The clear height the program itself went to so far: the highest Z in
    // milling, the largest X diameter in turning.
    std::optional<double> clearance;

    // How interpretation ended: the line was reached, or the program stopped
    // earlier (its end, a jump not followed, a cancel) at `stoppedAt`.
    bool reached = false;
    int stoppedAt = 0;
};
