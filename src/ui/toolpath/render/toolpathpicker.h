#pragma once

#include "toolpathcamera.h"

#include <cstdint>
#include <vector>

class ToolpathStore;

// Which moves lie under a pointer: the answer to a click on the picture.
class ToolpathPicker {
public:
    struct Hit {
        std::uint32_t vertex = 0; // the vertex that ends the move
        std::uint32_t line = 0;
        double distancePx = 0;
    };

    // Moves within `radiusPx` of `pixel`, nearest first, one per source line.
    // Only chunks whose box comes near the pointer are looked at.
    static std::vector<Hit> pick(const ToolpathStore &store, const ToolpathCamera &camera, QPointF pixel,
                                 double radiusPx = 8);
};
