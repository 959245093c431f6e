#pragma once

#include <QString>

#include <array>
#include <optional>
#include <vector>

struct ToolpathOptions {
    bool lathe = false; // X words are diameters (radii after G8), G18 by default, turning cycles
    // Stop before this main-program line (1-based) and keep the modes in
    // force there; 0 reads the whole program.
    int stopBeforeLine = 0;
};

struct ToolpathWarning {
    int line = 0; // 1-based source line
    QString message;
};

// What a whole program does, in millimetres. Lengths and bounds come from the
// doubles the interpreter computes, never from the float store. With `lathe`,
// X in the bounds is a diameter (a radius program's X doubled).
struct ToolpathSummary {
    struct Bounds {
        std::array<double, 3> min{};
        std::array<double, 3> max{};
    };
    struct Tool {
        int tool = 0;
        int line = 0;           // where it first became current (0: before any tool was set)
        double feedLength = 0;  // feeds, arcs and cycle feeds cut with it
    };

    bool inches = false; // units in force at the end
    bool lathe = false;
    long long rapidMoves = 0;
    long long feedMoves = 0;
    long long arcMoves = 0;
    long long cycleHoles = 0;
    double rapidLength = 0;
    double feedLength = 0; // arcs and cycle feeds included
    std::optional<Bounds> rapidBounds;
    std::optional<Bounds> feedBounds;
    std::vector<Tool> tools; // in order of first use
    int endLine = 0;         // last line interpreted
    std::vector<ToolpathWarning> warnings;
    double feedSeconds = 0; // estimated cutting time at the programmed feeds
    bool cancelled = false;
};
