#pragma once

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
    // The tolerance for a picture of the whole store about `pixels` wide.
    static double toleranceFor(const ToolpathStore &full, double pixels);
};
