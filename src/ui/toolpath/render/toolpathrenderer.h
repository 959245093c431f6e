#pragma once

#include "toolpathcamera.h"

#include <QColor>
#include <QImage>

#include <atomic>
#include <cstdint>
#include <functional>

class QPainter;
class ToolpathStore;

// The colours of the picture in one appearance.
struct ToolpathStyle {
    QColor background;
    QColor rapid;
    QColor feed;
    QColor hole;
    QColor sent;
    QColor selected;
    QColor marker;
    QColor axes;

    static ToolpathStyle forAppearance(bool dark);
};

struct ToolpathRenderOptions {
    // Moves of other tools are drawn dimmer while this tool's are shown (-1: none dimmed).
    int brightTool = -1;
    // Vertices before this one belong to the part already sent to the machine.
    std::uint32_t sentEnd = 0;
    // Level of detail: a vertex within this many pixels of the last one kept
    // with the same look is dropped (0 keeps every vertex).
    float dropWithinPx = 0.5f;
    bool antialiased = true;
    // Horizontal bands drawn on threads of their own, at most this many.
    int bands = 2;
    // Above 0, only the vertices from this one on are drawn, over what the
    // image holds (same camera): a path that grows is drawn a piece at a time.
    std::uint32_t fromVertex = 0;
};

// Draws a ToolpathStore with QPainter into a QImage: the same code for the
// window, `varn plot` and the tests. The store is only read, so several
// renders may run at once on finished stores.
//
// Rapids are thin, dashed and translucent, feeds and arcs solid, drilled holes a small
// ring at their bottom. Arcs are cut into chords for the camera's scale
// (a quarter of a pixel from the true arc), so they stay smooth at any zoom.
// The image is split into horizontal bands drawn in parallel; each band skips
// the chunks whose box does not reach it.
class ToolpathRenderer {
public:
    // Fills `image` (ARGB32 premultiplied, the camera's viewport size) with
    // the picture. Returns false, leaving a partial picture, when `cancelled`
    // answered true (asked once per chunk).
    static bool render(const ToolpathStore &store, const ToolpathCamera &camera, const ToolpathStyle &style,
                       const ToolpathRenderOptions &options, QImage &image,
                       const std::function<bool()> &cancelled = {});

    // Draws the vertices [from, to) with one pen over what `painter` holds:
    // the selected move, the newly sent part of the path. The segment into
    // `from` is included.
    static void drawRange(const ToolpathStore &store, const ToolpathCamera &camera, QPainter &painter,
                          std::uint32_t from, std::uint32_t to, const QColor &colour, double width);

    // The chord error in millimetres that keeps arcs within a quarter pixel.
    static double chordError(const ToolpathCamera &camera);
};
