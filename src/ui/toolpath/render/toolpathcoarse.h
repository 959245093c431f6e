#pragma once

#include <cstddef>

class ToolpathStore;

// A model-space level of detail for turning the camera: the same path with
// every vertex closer than `tolerance` millimetres to the last one kept (with
// the same kind) left out and arcs cut into chords of that error. Breaks and
// tool changes are kept, and lines stay those of the full store, so the coarse
// picture looks the same at the scale of a whole view and draws in a fraction
// of the time.
class ToolpathCoarse {
public:
    static ToolpathStore build(const ToolpathStore &full, double tolerance);
    // The tolerance for a picture of the whole store about `pixels` wide,
    // widened until the level is estimated to keep at most `maxVertices`
    // (0: no limit): a frame while turning must draw in a few tens of
    // milliseconds whatever the program, so a dense path gets a coarser level.
    static double toleranceFor(const ToolpathStore &full, double pixels, std::size_t maxVertices = 0);
};
