#pragma once

#include <array>
#include <cstdint>
#include <vector>

// What kind of travel a vertex ends. `jump` starts a new polyline without a
// move (the position was set by G92/G50 or a coordinate system change): the
// segment into it is not drawn.
enum class MoveKind : std::uint8_t { rapid = 0, feed = 1, arc = 2, cycleRapid = 3, cycleFeed = 4, jump = 5 };

// The path the tool travels, compact enough to hold a 100 MB program for
// drawing: one vertex per move end, positions as float relative to `origin()`
// (millimetres, X as radius even in turning; the summary keeps the doubles),
// the kind and the step from the previous vertex's source line in one byte
// (lines are read back from a checkpoint every 64 vertices, and a step that
// does not fit is kept apart), about 13 bytes a vertex. An arc is one vertex plus
// an entry in the arc table; `arcPoints` tessellates it in double precision
// for whatever chord error the caller's scale needs, ending exactly on the
// stored end point. The store only grows while a program is interpreted and is
// read-only afterwards, so a finished store may be shared between threads.
class ToolpathStore {
public:
    static constexpr int chunkSize = 4096; // vertices per bounding box
    static constexpr std::uint32_t maxLine = (1u << 29) - 1;

    struct Box {
        std::array<float, 3> min{};
        std::array<float, 3> max{};
    };

    struct Arc {
        std::array<float, 3> centre{}; // relative to origin()
        float sweep = 0;               // radians, positive counter-clockwise about the plane's normal
        std::uint8_t plane = 17;       // 17 XY, 18 ZX, 19 YZ
    };

    struct ToolChange {
        std::uint32_t vertex = 0; // first vertex cut with this tool
        int tool = 0;
    };

    // Vertex 0 is the start position (kind jump). Appending keeps the chunk
    // boxes, the first-vertex-of-line index and the arc table up to date.
    void start(std::array<double, 3> position, std::uint32_t line = 0);
    void append(MoveKind kind, std::uint32_t line, std::array<double, 3> end);
    void appendArc(std::uint32_t line, std::array<double, 3> end, std::array<double, 3> centre,
                   double sweep, int plane);
    void changeTool(int tool);

    std::size_t size() const { return m_x.size(); }
    bool empty() const { return m_x.empty(); }
    std::array<double, 3> origin() const { return m_origin; }
    std::array<float, 3> position(std::size_t vertex) const { return {m_x[vertex], m_y[vertex], m_z[vertex]}; }
    MoveKind kind(std::size_t vertex) const { return MoveKind(m_codes[vertex] >> 5); }
    std::uint32_t line(std::size_t vertex) const;
    const float *xs() const { return m_x.data(); }
    const float *ys() const { return m_y.data(); }
    const float *zs() const { return m_z.data(); }

    // The arc that ends at `vertex` (kind arc).
    const Arc &arc(std::size_t vertex) const;
    // Points strictly between the arc's start and end, so that no chord lies
    // farther than `maxChordError` (mm) from the true arc; the end point is the
    // vertex itself. Helical arcs climb linearly.
    void arcPoints(std::size_t vertex, double maxChordError, std::vector<std::array<float, 3>> &out) const;

    // Box of vertices [i * chunkSize, (i + 1) * chunkSize), arcs' extreme points included.
    const std::vector<Box> &chunkBoxes() const { return m_boxes; }
    // First vertex of each source line that made one, ascending by vertex; a
    // line that made no vertex has no entry.
    std::uint32_t firstVertexOfLine(std::uint32_t line) const; // size() when none
    const std::vector<ToolChange> &toolChanges() const { return m_toolChanges; }
    int toolAt(std::size_t vertex) const;

    std::size_t bytesUsed() const;
    // Gives back the room the vectors grew into; for a store that is complete.
    void squeeze();

private:
    std::array<double, 3> m_origin{};
    std::vector<float> m_x, m_y, m_z;
    static constexpr int kLineCheckpoint = 64;  // vertices between stored lines
    static constexpr std::uint8_t kFarStep = 31; // the step is in m_farLines
    std::vector<std::uint8_t> m_codes;           // kind << 5 | step from the previous vertex's line
    std::vector<std::uint32_t> m_checkpoints;    // line of vertex i * kLineCheckpoint
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_farLines; // (vertex, line), ascending by vertex
    std::uint32_t m_lastLine = 0;
    std::vector<std::uint32_t> m_arcVertices; // ascending, for lookup by vertex
    std::vector<Arc> m_arcs;
    std::vector<Box> m_boxes;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> m_chunkLines; // (lowest, highest) line of each chunk
    std::vector<ToolChange> m_toolChanges;
};
