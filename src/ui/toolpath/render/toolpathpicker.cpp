#include "toolpathpicker.h"

#include "toolpathrenderer.h"

#include "toolpath/toolpathstore.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace {

double distanceToSegment(QPointF p, QPointF a, QPointF b)
{
    const QPointF ab = b - a;
    const double length2 = QPointF::dotProduct(ab, ab);
    double t = length2 > 0 ? QPointF::dotProduct(p - a, ab) / length2 : 0;
    t = std::clamp(t, 0.0, 1.0);
    const QPointF d = p - (a + ab * t);
    return std::hypot(d.x(), d.y());
}

} // namespace

std::vector<ToolpathPicker::Hit> ToolpathPicker::pick(const ToolpathStore &store, const ToolpathCamera &camera,
                                                      QPointF pixel, double radiusPx)
{
    const ToolpathCamera::Projection p = camera.projection();
    const double error = ToolpathRenderer::chordError(camera);
    auto at = [&](std::size_t i) { return p.map(store.xs()[i], store.ys()[i], store.zs()[i]); };
    std::unordered_map<std::uint32_t, Hit> nearest; // by line
    std::vector<std::array<float, 3>> arc;
    const auto &boxes = store.chunkBoxes();
    for (std::size_t chunk = 0; chunk < boxes.size(); ++chunk) {
        const std::size_t first = chunk * ToolpathStore::chunkSize;
        const std::size_t last = std::min(store.size(), first + ToolpathStore::chunkSize);
        // The box with the vertex before the chunk, as the renderer sees it.
        double minX = 1e300, minY = 1e300, maxX = -1e300, maxY = -1e300;
        auto take = [&](QPointF q) {
            minX = std::min(minX, q.x()), maxX = std::max(maxX, q.x());
            minY = std::min(minY, q.y()), maxY = std::max(maxY, q.y());
        };
        const ToolpathStore::Box &box = boxes[chunk];
        for (int corner = 0; corner < 8; ++corner)
            take(p.map(corner & 1 ? box.max[0] : box.min[0], corner & 2 ? box.max[1] : box.min[1],
                       corner & 4 ? box.max[2] : box.min[2]));
        if (first > 0)
            take(at(first - 1));
        if (pixel.x() < minX - radiusPx || pixel.x() > maxX + radiusPx || pixel.y() < minY - radiusPx ||
            pixel.y() > maxY + radiusPx)
            continue;
        QPointF previous = at(first > 0 ? first - 1 : first);
        for (std::size_t i = first; i < last; ++i) {
            const QPointF end = at(i);
            const MoveKind kind = store.kind(i);
            double d = 1e300;
            if (kind == MoveKind::jump) {
                previous = end;
                continue;
            }
            if (kind == MoveKind::arc) {
                arc.clear();
                store.arcPoints(i, error, arc);
                QPointF a = previous;
                for (const auto &q : arc) {
                    const QPointF b = p.map(q[0], q[1], q[2]);
                    d = std::min(d, distanceToSegment(pixel, a, b));
                    a = b;
                }
                d = std::min(d, distanceToSegment(pixel, a, end));
            } else {
                d = distanceToSegment(pixel, previous, end);
            }
            previous = end;
            if (d > radiusPx)
                continue;
            const std::uint32_t line = store.line(i);
            auto [it, inserted] = nearest.try_emplace(line, Hit{std::uint32_t(i), line, d});
            if (!inserted && d < it->second.distancePx)
                it->second = Hit{std::uint32_t(i), line, d};
        }
    }
    std::vector<Hit> hits;
    hits.reserve(nearest.size());
    for (const auto &entry : nearest)
        hits.push_back(entry.second);
    std::sort(hits.begin(), hits.end(), [](const Hit &a, const Hit &b) {
        return a.distancePx != b.distancePx ? a.distancePx < b.distancePx : a.line < b.line;
    });
    return hits;
}
