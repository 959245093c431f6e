#include "toolpathstore.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

// The two in-plane axes (first, second) and the normal axis of a plane, so
// that first × second points along the normal: XY→Z, ZX→Y, YZ→X.
struct PlaneAxes {
    int u, v, n;
};

PlaneAxes axesOf(int plane)
{
    switch (plane) {
    case 18: return {2, 0, 1};
    case 19: return {1, 2, 0};
    default: return {0, 1, 2};
    }
}

// Whether angle `a` lies on the sweep that starts at `from` and turns by `sweep`.
bool onSweep(double a, double from, double sweep)
{
    const double turn = 2 * std::numbers::pi;
    double d = sweep >= 0 ? a - from : from - a;
    d = std::fmod(d, turn);
    if (d < 0)
        d += turn;
    return d <= std::abs(sweep);
}

} // namespace

void ToolpathStore::start(std::array<double, 3> position, std::uint32_t line)
{
    *this = ToolpathStore();
    m_origin = position;
    append(MoveKind::jump, line, position);
}

void ToolpathStore::append(MoveKind kind, std::uint32_t line, std::array<double, 3> end)
{
    if (m_x.empty() && kind != MoveKind::jump)
        m_origin = {0, 0, 0};
    const std::array<float, 3> p{float(end[0] - m_origin[0]), float(end[1] - m_origin[1]),
                                 float(end[2] - m_origin[2])};
    const std::size_t vertex = m_x.size();
    m_x.push_back(p[0]);
    m_y.push_back(p[1]);
    m_z.push_back(p[2]);
    line = std::min(line, maxLine);
    std::uint8_t step = 0;
    if (vertex % kLineCheckpoint == 0) {
        m_checkpoints.push_back(line);
    } else if (line >= m_lastLine && line - m_lastLine < kFarStep) {
        step = std::uint8_t(line - m_lastLine);
    } else {
        // A subprogram or a cycle's contour runs lines out of order.
        step = kFarStep;
        m_farLines.emplace_back(std::uint32_t(vertex), line);
    }
    m_codes.push_back(std::uint8_t((std::uint8_t(kind) << 5) | step));
    m_lastLine = line;

    if (vertex % chunkSize == 0)
        m_boxes.push_back({p, p});
    Box &box = m_boxes.back();
    for (int axis = 0; axis < 3; ++axis) {
        box.min[axis] = std::min(box.min[axis], p[axis]);
        box.max[axis] = std::max(box.max[axis], p[axis]);
    }

    if (vertex % chunkSize == 0) {
        m_chunkLines.emplace_back(line, line);
    } else {
        m_chunkLines.back().first = std::min(m_chunkLines.back().first, line);
        m_chunkLines.back().second = std::max(m_chunkLines.back().second, line);
    }
}

void ToolpathStore::appendArc(std::uint32_t line, std::array<double, 3> end, std::array<double, 3> centre,
                              double sweep, int plane)
{
    Q_ASSERT(!m_x.empty());
    const std::size_t from = m_x.size() - 1;
    const std::array<double, 3> start{m_origin[0] + m_x[from], m_origin[1] + m_y[from], m_origin[2] + m_z[from]};
    append(MoveKind::arc, line, end);
    m_arcVertices.push_back(std::uint32_t(m_x.size() - 1));
    m_arcs.push_back({{float(centre[0] - m_origin[0]), float(centre[1] - m_origin[1]), float(centre[2] - m_origin[2])},
                      float(sweep), std::uint8_t(plane)});

    // The box holds the arc's extreme points between its ends, not only the ends.
    const PlaneAxes a = axesOf(plane);
    const double su = start[a.u] - centre[a.u], sv = start[a.v] - centre[a.v];
    const double radius = std::hypot(su, sv);
    const double from0 = std::atan2(sv, su);
    Box &box = m_boxes.back();
    for (int quarter = 0; quarter < 4; ++quarter) {
        const double angle = quarter * std::numbers::pi / 2;
        if (!onSweep(angle, from0, sweep))
            continue;
        const double pu = centre[a.u] + radius * std::cos(angle) - m_origin[a.u];
        const double pv = centre[a.v] + radius * std::sin(angle) - m_origin[a.v];
        box.min[a.u] = std::min(box.min[a.u], float(pu));
        box.max[a.u] = std::max(box.max[a.u], float(pu));
        box.min[a.v] = std::min(box.min[a.v], float(pv));
        box.max[a.v] = std::max(box.max[a.v], float(pv));
    }
}

void ToolpathStore::changeTool(int tool)
{
    const std::uint32_t vertex = std::uint32_t(m_x.size());
    if (!m_toolChanges.empty() && m_toolChanges.back().vertex == vertex)
        m_toolChanges.back().tool = tool;
    else
        m_toolChanges.push_back({vertex, tool});
}

const ToolpathStore::Arc &ToolpathStore::arc(std::size_t vertex) const
{
    const auto it = std::lower_bound(m_arcVertices.begin(), m_arcVertices.end(), std::uint32_t(vertex));
    Q_ASSERT(it != m_arcVertices.end() && *it == vertex);
    return m_arcs[std::size_t(it - m_arcVertices.begin())];
}

void ToolpathStore::arcPoints(std::size_t vertex, double maxChordError, std::vector<std::array<float, 3>> &out) const
{
    if (vertex == 0 || vertex >= size())
        return;
    const Arc &a = arc(vertex);
    const PlaneAxes axes = axesOf(a.plane);
    // In double from here on: a float angle would wobble visibly on large radii.
    const std::array<double, 3> s{m_x[vertex - 1], m_y[vertex - 1], m_z[vertex - 1]};
    const std::array<double, 3> e{m_x[vertex], m_y[vertex], m_z[vertex]};
    const std::array<double, 3> c{a.centre[0], a.centre[1], a.centre[2]};
    const double r0 = std::hypot(s[axes.u] - c[axes.u], s[axes.v] - c[axes.v]);
    const double r1 = std::hypot(e[axes.u] - c[axes.u], e[axes.v] - c[axes.v]);
    const double a0 = std::atan2(s[axes.v] - c[axes.v], s[axes.u] - c[axes.u]);
    const double radius = std::max(r0, r1);
    const double sweep = a.sweep;
    if (radius <= 0 || sweep == 0)
        return;
    const double error = std::max(maxChordError, 1e-9);
    // The largest step whose chord stays within `error` of the circle.
    const double step = error >= radius ? std::numbers::pi / 2 : 2 * std::acos(1 - error / radius);
    const auto segments = std::size_t(std::clamp(std::ceil(std::abs(sweep) / step), 1.0, 100000.0));
    for (std::size_t i = 1; i < segments; ++i) {
        const double t = double(i) / double(segments);
        const double angle = a0 + sweep * t;
        const double r = r0 + (r1 - r0) * t;
        std::array<float, 3> p{};
        p[axes.u] = float(c[axes.u] + r * std::cos(angle));
        p[axes.v] = float(c[axes.v] + r * std::sin(angle));
        p[axes.n] = float(s[axes.n] + (e[axes.n] - s[axes.n]) * t);
        out.push_back(p);
    }
}

std::uint32_t ToolpathStore::line(std::size_t vertex) const
{
    const std::uint8_t step = m_codes[vertex] & 31;
    const auto far = [&](std::size_t v) {
        const auto it = std::lower_bound(m_farLines.begin(), m_farLines.end(), std::make_pair(std::uint32_t(v), 0u));
        Q_ASSERT(it != m_farLines.end() && it->first == v);
        return it->second;
    };
    if (step == kFarStep)
        return far(vertex);
    // Walk back to the checkpoint or to a vertex whose line is kept whole.
    std::size_t from = vertex;
    std::uint32_t sum = step;
    while (from % kLineCheckpoint != 0) {
        --from;
        const std::uint8_t s = m_codes[from] & 31;
        if (s == kFarStep)
            return far(from) + sum;
        sum += s;
    }
    return m_checkpoints[from / kLineCheckpoint] + sum; // a checkpoint vertex keeps a step of 0
}

std::uint32_t ToolpathStore::firstVertexOfLine(std::uint32_t line) const
{
    for (std::size_t chunk = 0; chunk < m_chunkLines.size(); ++chunk) {
        if (line < m_chunkLines[chunk].first || line > m_chunkLines[chunk].second)
            continue;
        const std::size_t end = std::min(size(), (chunk + 1) * chunkSize);
        for (std::size_t v = chunk * chunkSize; v < end; ++v) {
            if (this->line(v) == line)
                return std::uint32_t(v);
        }
    }
    return std::uint32_t(size());
}

int ToolpathStore::toolAt(std::size_t vertex) const
{
    const auto it = std::upper_bound(m_toolChanges.begin(), m_toolChanges.end(), std::uint32_t(vertex),
                                     [](std::uint32_t v, const ToolChange &change) { return v < change.vertex; });
    return it == m_toolChanges.begin() ? 0 : std::prev(it)->tool;
}

std::size_t ToolpathStore::bytesUsed() const
{
    return (m_x.capacity() + m_y.capacity() + m_z.capacity()) * sizeof(float) + m_codes.capacity()
        + m_checkpoints.capacity() * sizeof(std::uint32_t) + m_farLines.capacity() * sizeof(m_farLines[0])
        + m_chunkLines.capacity() * sizeof(m_chunkLines[0])
        + m_arcVertices.capacity() * sizeof(std::uint32_t) + m_arcs.capacity() * sizeof(Arc)
        + m_boxes.capacity() * sizeof(Box)
        + m_toolChanges.capacity() * sizeof(ToolChange);
}

void ToolpathStore::squeeze()
{
    m_x.shrink_to_fit();
    m_y.shrink_to_fit();
    m_z.shrink_to_fit();
    m_codes.shrink_to_fit();
    m_checkpoints.shrink_to_fit();
    m_farLines.shrink_to_fit();
    m_arcVertices.shrink_to_fit();
    m_arcs.shrink_to_fit();
    m_boxes.shrink_to_fit();
    m_chunkLines.shrink_to_fit();
    m_toolChanges.shrink_to_fit();
}
