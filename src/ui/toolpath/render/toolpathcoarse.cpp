#include "toolpathcoarse.h"

#include "toolpath/toolpathstore.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace {

bool isFeed(MoveKind kind)
{
    return kind == MoveKind::feed || kind == MoveKind::arc || kind == MoveKind::cycleFeed;
}

} // namespace

double ToolpathCoarse::toleranceFor(const ToolpathStore &full, double pixels, std::size_t maxVertices)
{
    float lo[3] = {0, 0, 0}, hi[3] = {0, 0, 0};
    bool any = false;
    for (const ToolpathStore::Box &box : full.chunkBoxes()) {
        for (int axis = 0; axis < 3; ++axis) {
            lo[axis] = any ? std::min(lo[axis], box.min[axis]) : box.min[axis];
            hi[axis] = any ? std::max(hi[axis], box.max[axis]) : box.max[axis];
        }
        any = true;
    }
    const double diagonal = std::hypot(hi[0] - lo[0], hi[1] - lo[1], hi[2] - lo[2]);
    double tolerance = std::max(diagonal / std::max(pixels, 1.0), 1e-6);
    if (maxVertices == 0 || full.size() <= maxVertices)
        return tolerance;

    // The decimation below run on a few stretches of the path spread over it,
    // which says how many vertices a tolerance keeps at a small cost.
    const std::size_t n = full.size();
    constexpr std::size_t stretches = 16, stretch = 4096;
    auto estimate = [&](double t) {
        const double t2 = t * t;
        std::size_t kept = 0, sampled = 0;
        for (std::size_t s = 0; s < stretches; ++s) {
            const std::size_t first = (n - std::min(n, stretch)) * s / stretches;
            const std::size_t last = std::min(n, first + stretch);
            std::array<float, 3> at = full.position(first);
            for (std::size_t i = first + 1; i < last; ++i) {
                const std::array<float, 3> p = full.position(i);
                const double dx = p[0] - at[0], dy = p[1] - at[1], dz = p[2] - at[2];
                if (dx * dx + dy * dy + dz * dz >= t2 || full.kind(i) == MoveKind::jump) {
                    ++kept;
                    at = p;
                }
            }
            sampled += last - first - 1;
        }
        return double(kept) * double(n) / double(std::max<std::size_t>(sampled, 1));
    };
    for (int step = 0; step < 40 && estimate(tolerance) > double(maxVertices); ++step)
        tolerance *= 1.25;
    return tolerance;
}

ToolpathStore ToolpathCoarse::build(const ToolpathStore &full, double tolerance)
{
    ToolpathStore coarse;
    if (full.empty())
        return coarse;
    const std::array<double, 3> o = full.origin();
    auto absolute = [&](const std::array<float, 3> &p) {
        return std::array<double, 3>{o[0] + p[0], o[1] + p[1], o[2] + p[2]};
    };
    coarse.start(absolute(full.position(0)), full.line(0));
    const auto &changes = full.toolChanges();
    std::size_t nextChange = 0;
    std::array<float, 3> kept = full.position(0);
    std::array<float, 3> pending{};
    MoveKind pendingKind = MoveKind::jump;
    std::uint32_t pendingLine = 0;
    bool hasPending = false;
    const double tolerance2 = tolerance * tolerance;
    std::vector<std::array<float, 3>> arc;

    auto keep = [&](MoveKind kind, std::uint32_t line, const std::array<float, 3> &p) {
        coarse.append(kind, line, absolute(p));
        kept = p;
        hasPending = false;
    };
    auto flushPending = [&] {
        if (hasPending)
            keep(pendingKind, pendingLine, pending);
    };
    auto offer = [&](MoveKind kind, std::uint32_t line, const std::array<float, 3> &p) {
        // A change of look must start from the true previous point.
        if (hasPending && isFeed(kind) != isFeed(pendingKind))
            flushPending();
        const double dx = p[0] - kept[0], dy = p[1] - kept[1], dz = p[2] - kept[2];
        if (dx * dx + dy * dy + dz * dz < tolerance2) {
            pending = p, pendingKind = kind, pendingLine = line, hasPending = true;
            return;
        }
        keep(kind, line, p);
    };

    for (std::size_t i = 1; i < full.size(); ++i) {
        while (nextChange < changes.size() && changes[nextChange].vertex <= i) {
            flushPending();
            coarse.changeTool(changes[nextChange].tool);
            ++nextChange;
        }
        const MoveKind kind = full.kind(i);
        const std::uint32_t line = full.line(i);
        if (kind == MoveKind::jump) {
            flushPending();
            keep(kind, line, full.position(i));
            continue;
        }
        if (kind == MoveKind::arc) {
            arc.clear();
            full.arcPoints(i, tolerance, arc);
            for (const auto &q : arc)
                offer(MoveKind::feed, line, q);
        }
        offer(kind == MoveKind::arc ? MoveKind::feed : kind, line, full.position(i));
    }
    flushPending();
    return coarse;
}
