#include "toolpathrenderer.h"

#include "toolpath/toolpathstore.h"

#include <QPainter>
#include <QPen>

#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

namespace {

// A look of a segment: bit 0 feed (else rapid), bit 1 dimmed, bit 2 sent.
constexpr int feedBit = 1, dimBit = 2, sentBit = 4, lookCount = 8;

bool isFeed(MoveKind kind)
{
    return kind == MoveKind::feed || kind == MoveKind::arc || kind == MoveKind::cycleFeed;
}

// `colour` at `opacity` over the background, as one opaque colour: the
// raster engine draws opaque lines many times faster than blended ones (a
// turning frame of 25,000 vertices: 5 ms against 50). Where lines cross, the
// later one covers the earlier instead of mixing with it.
QColor over(const QColor &colour, double opacity, const QColor &background)
{
    const auto mix = [&](double top, double bottom) { return top * opacity + bottom * (1 - opacity); };
    return QColor::fromRgbF(float(mix(colour.redF(), background.redF())), float(mix(colour.greenF(), background.greenF())),
                            float(mix(colour.blueF(), background.blueF())));
}

// Walks a range of vertices and hands the painter polylines of one look at a
// time, dropping vertices that would not change the picture.
class BandWalker {
public:
    BandWalker(const ToolpathStore &store, const ToolpathCamera::Projection &projection, const ToolpathStyle &style,
               const ToolpathRenderOptions &options, double chordError, QPainter &painter)
        : m_store(store), m_p(projection), m_options(options), m_chordError(chordError), m_painter(painter)
    {
        for (int look = 0; look < lookCount; ++look) {
            QColor colour = look & sentBit ? style.sent : look & feedBit ? style.feed : style.rapid;
            if (!(look & feedBit))
                colour = over(colour, 0.6, style.background);
            if (look & dimBit)
                colour = over(colour, 0.3, style.background);
            m_pens[look] = QPen(colour, 1.0);
            m_pens[look].setCosmetic(true);
            m_pens[look].setCapStyle(Qt::FlatCap);
            m_pens[look].setJoinStyle(Qt::BevelJoin);
            // Rapids are dashed so they read apart from feeds whatever the colours; the
            // cosmetic stroker dashes one-pixel lines without widening them to paths.
            if (!(look & feedBit))
                m_pens[look].setDashPattern({4.0, 3.0});
        }
        m_holePen = QPen(style.hole, 1.2);
        m_holePen.setCosmetic(true);
        m_line.reserve(4200);
    }

    // Which moves walk() draws: all of them, or only the dimmed ones or only
    // the others, so the current tool's moves can go over the rest.
    enum class Only { all, dimmed, bright };
    void setOnly(Only only) { m_only = only; }

    // Draws vertices [first, last) with the segment into `first`.
    void walk(std::size_t first, std::size_t last)
    {
        m_look = -1;
        m_line.clear();
        QPointF start = point(first > 0 ? first - 1 : first);
        m_last = m_kept = start;
        m_lastDropped = false;
        advanceToolCursor(first);
        for (std::size_t i = first; i < last; ++i) {
            const MoveKind kind = m_store.kind(i);
            const QPointF p = point(i);
            if (kind == MoveKind::jump) {
                flush();
                m_look = -1;
                m_last = m_kept = p;
                continue;
            }
            const int look = lookOf(kind, i);
            if (m_only != Only::all && bool(look & dimBit) != (m_only == Only::dimmed)) {
                // Not this pass's: the pen lifts as at a jump.
                flush();
                m_look = -1;
                m_last = m_kept = p;
                continue;
            }
            if (look != m_look) {
                flush();
                m_look = look;
                m_line.push_back(m_last);
                m_kept = m_last;
            }
            if (kind == MoveKind::arc) {
                m_arc.clear();
                m_store.arcPoints(i, m_chordError, m_arc);
                for (const auto &q : m_arc)
                    add(m_p.map(q[0], q[1], q[2]));
            }
            add(p);
            if (kind == MoveKind::cycleFeed)
                m_holes.push_back(p);
        }
        flush();
    }

    void drawHoles()
    {
        m_painter.setPen(m_holePen);
        m_painter.setBrush(Qt::NoBrush);
        for (const QPointF &hole : m_holes)
            m_painter.drawEllipse(hole, 2.5, 2.5);
        m_holes.clear();
    }

private:
    QPointF point(std::size_t i) const
    {
        return m_p.map(m_store.xs()[i], m_store.ys()[i], m_store.zs()[i]);
    }

    int lookOf(MoveKind kind, std::size_t i)
    {
        int look = isFeed(kind) ? feedBit : 0;
        if (i < m_options.sentEnd)
            look |= sentBit;
        if (m_options.brightTool >= 0) {
            advanceToolCursor(i);
            if (m_tool != m_options.brightTool)
                look |= dimBit;
        }
        return look;
    }

    void advanceToolCursor(std::size_t i)
    {
        if (m_options.brightTool < 0)
            return;
        const auto &changes = m_store.toolChanges();
        if (m_toolIndex > changes.size() || (m_toolIndex > 0 && changes[m_toolIndex - 1].vertex > i)) {
            m_toolIndex = 0;
        }
        while (m_toolIndex < changes.size() && changes[m_toolIndex].vertex <= i)
            ++m_toolIndex;
        m_tool = m_toolIndex == 0 ? 0 : changes[m_toolIndex - 1].tool;
    }

    void add(QPointF q)
    {
        m_last = q;
        const float d = m_options.dropWithinPx;
        if (d > 0 && std::abs(q.x() - m_kept.x()) < d && std::abs(q.y() - m_kept.y()) < d) {
            m_lastDropped = true;
            return;
        }
        m_line.push_back(q);
        m_kept = q;
        m_lastDropped = false;
        if (m_line.size() >= 4096) {
            // Long runs go out in pieces, joined at their shared point.
            draw();
            m_line.clear();
            m_line.push_back(q);
        }
    }

    void flush()
    {
        if (m_lastDropped)
            m_line.push_back(m_last);
        m_lastDropped = false;
        draw();
        m_line.clear();
    }

    void draw()
    {
        if (m_line.size() < 2 || m_look < 0)
            return;
        m_painter.setPen(m_pens[m_look]);
        m_painter.drawPolyline(m_line.data(), int(m_line.size()));
    }

    const ToolpathStore &m_store;
    const ToolpathCamera::Projection m_p;
    const ToolpathRenderOptions &m_options;
    const double m_chordError;
    QPainter &m_painter;
    QPen m_pens[lookCount];
    QPen m_holePen;
    std::vector<QPointF> m_line;
    std::vector<QPointF> m_holes;
    std::vector<std::array<float, 3>> m_arc;
    QPointF m_last, m_kept;
    bool m_lastDropped = false;
    Only m_only = Only::all;
    int m_look = -1;
    std::size_t m_toolIndex = 0;
    int m_tool = 0;
};

// The screen rectangle of a chunk's box, widened by the vertex before the
// chunk so the segment that enters the chunk is not lost.
QRectF chunkRect(const ToolpathStore &store, const ToolpathCamera::Projection &p, std::size_t chunk)
{
    const ToolpathStore::Box &box = store.chunkBoxes()[chunk];
    double minX = 1e300, minY = 1e300, maxX = -1e300, maxY = -1e300;
    auto take = [&](QPointF q) {
        minX = std::min(minX, q.x()), maxX = std::max(maxX, q.x());
        minY = std::min(minY, q.y()), maxY = std::max(maxY, q.y());
    };
    for (int corner = 0; corner < 8; ++corner)
        take(p.map(corner & 1 ? box.max[0] : box.min[0], corner & 2 ? box.max[1] : box.min[1],
                   corner & 4 ? box.max[2] : box.min[2]));
    const std::size_t first = chunk * ToolpathStore::chunkSize;
    if (first > 0)
        take(p.map(store.xs()[first - 1], store.ys()[first - 1], store.zs()[first - 1]));
    // Widened by a pixel: a flat chunk (a lathe path seen from the top) has an empty
    // rectangle, and an empty rectangle intersects nothing.
    return QRectF(QPointF(minX - 1, minY - 1), QPointF(maxX + 1, maxY + 1));
}

void drawAxes(QPainter &painter, const ToolpathStore &store, const ToolpathCamera::Projection &p, const QColor &colour)
{
    // A small triad at the program's zero, so the picture says where X, Y and Z point.
    const std::array<double, 3> o = store.origin();
    const QPointF zero = p.map(float(-o[0]), float(-o[1]), float(-o[2]));
    const QPointF axes[3] = {{p.m[0], p.m[4]}, {p.m[1], p.m[5]}, {p.m[2], p.m[6]}};
    const QColor tints[3] = {QColor(220, 70, 70), QColor(70, 170, 90), QColor(70, 120, 230)};
    for (int axis = 0; axis < 3; ++axis) {
        const double length = std::hypot(axes[axis].x(), axes[axis].y());
        if (length < 1e-9)
            continue;
        QColor tint = tints[axis];
        tint.setAlphaF(0.8);
        painter.setPen(QPen(tint, 1.5));
        painter.drawLine(zero, zero + axes[axis] * (18 / length));
    }
    painter.setPen(QPen(colour, 1));
    painter.drawEllipse(zero, 2, 2);
}

bool renderBand(const ToolpathStore &store, const ToolpathCamera::Projection &projection, const ToolpathStyle &style,
                const ToolpathRenderOptions &options, double chordError, QImage &band,
                const std::function<bool()> &cancelled)
{
    QPainter painter(&band);
    painter.setRenderHint(QPainter::Antialiasing, options.antialiased);
    const QRectF visible = QRectF(band.rect()).adjusted(-3, -3, 3, 3);
    if (options.fromVertex == 0)
        drawAxes(painter, store, projection, style.axes);
    BandWalker walker(store, projection, style, options, chordError, painter);
    const std::size_t chunks = store.chunkBoxes().size();
    // Lines are opaque: with a current tool, the others are drawn first and its moves over them.
    using Only = BandWalker::Only;
    const std::vector<Only> passes = options.brightTool >= 0 ? std::vector{Only::dimmed, Only::bright}
                                                             : std::vector{Only::all};
    for (const Only pass : passes) {
        walker.setOnly(pass);
        for (std::size_t chunk = std::size_t(options.fromVertex) / ToolpathStore::chunkSize; chunk < chunks; ++chunk) {
            if (cancelled && cancelled())
                return false;
            if (!chunkRect(store, projection, chunk).intersects(visible))
                continue;
            const std::size_t first = std::max<std::size_t>(chunk * ToolpathStore::chunkSize, options.fromVertex);
            walker.walk(first, std::min(store.size(), chunk * ToolpathStore::chunkSize + ToolpathStore::chunkSize));
        }
    }
    walker.drawHoles();
    return true;
}

} // namespace

ToolpathStyle ToolpathStyle::forAppearance(bool dark)
{
    if (dark)
        return {QColor(0x1e, 0x1f, 0x22), QColor(0xe0, 0xa4, 0x3c), QColor(0x5c, 0xc8, 0xf5), QColor(0xff, 0x70, 0x43),
                QColor(0x7b, 0xd8, 0x8f), QColor(0xff, 0xe0, 0x4f), QColor(0xff, 0x52, 0x52), QColor(0x6a, 0x6e, 0x75)};
    return {QColor(0xff, 0xff, 0xff), QColor(0xc2, 0x6d, 0x00), QColor(0x15, 0x5f, 0xc0), QColor(0xd8, 0x43, 0x15),
            QColor(0x2e, 0x8b, 0x3a), QColor(0xd8, 0x1b, 0x60), QColor(0xc6, 0x28, 0x28), QColor(0xa0, 0xa4, 0xaa)};
}

double ToolpathRenderer::chordError(const ToolpathCamera &camera)
{
    return 0.25 / std::max(camera.scale(), 1e-9);
}

bool ToolpathRenderer::render(const ToolpathStore &store, const ToolpathCamera &camera, const ToolpathStyle &style,
                              const ToolpathRenderOptions &options, QImage &image,
                              const std::function<bool()> &cancelled)
{
    const bool fresh = options.fromVertex == 0 || image.size() != camera.viewport() ||
                       image.format() != QImage::Format_ARGB32_Premultiplied;
    if (image.size() != camera.viewport() || image.format() != QImage::Format_ARGB32_Premultiplied)
        image = QImage(camera.viewport(), QImage::Format_ARGB32_Premultiplied);
    // A new image has nothing to draw over: all of the path goes in.
    ToolpathRenderOptions used = options;
    if (fresh) {
        image.fill(style.background);
        used.fromVertex = 0;
    }
    if (store.empty() || image.isNull())
        return true;
    const int height = image.height();
    const int bands = std::clamp(used.bands, 1, std::max(1, height / 16));
    uchar *bits = image.bits();
    const qsizetype stride = image.bytesPerLine();
    const ToolpathCamera::Projection whole = camera.projection();
    const double error = chordError(camera);

    std::vector<char> finished(std::size_t(bands), 0);
    auto runBand = [&](int index) {
        const int top = height * index / bands, bottom = height * (index + 1) / bands;
        QImage band(bits + top * stride, image.width(), bottom - top, stride, image.format());
        ToolpathCamera::Projection shifted = whole;
        shifted.m[7] -= float(top);
        finished[std::size_t(index)] = renderBand(store, shifted, style, used, error, band, cancelled);
    };
    {
        std::vector<std::jthread> others;
        for (int index = 1; index < bands; ++index)
            others.emplace_back(runBand, index);
        runBand(0);
    }
    return std::all_of(finished.begin(), finished.end(), [](char done) { return done != 0; });
}

void ToolpathRenderer::drawRange(const ToolpathStore &store, const ToolpathCamera &camera, QPainter &painter,
                                 std::uint32_t from, std::uint32_t to, const QColor &colour, double width)
{
    to = std::min<std::uint32_t>(to, std::uint32_t(store.size()));
    if (from >= to)
        return;
    const ToolpathCamera::Projection p = camera.projection();
    const double error = chordError(camera);
    std::vector<QPointF> line;
    std::vector<std::array<float, 3>> arc;
    auto at = [&](std::size_t i) { return p.map(store.xs()[i], store.ys()[i], store.zs()[i]); };
    auto flush = [&] {
        if (line.size() >= 2)
            painter.drawPolyline(line.data(), int(line.size()));
        line.clear();
    };
    QPen pen(colour, width);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    painter.setPen(pen);
    line.push_back(at(from > 0 ? from - 1 : from));
    for (std::uint32_t i = from; i < to; ++i) {
        if (store.kind(i) == MoveKind::jump) {
            flush();
        } else if (store.kind(i) == MoveKind::arc) {
            arc.clear();
            store.arcPoints(i, error, arc);
            for (const auto &q : arc)
                line.push_back(p.map(q[0], q[1], q[2]));
        }
        line.push_back(at(i));
    }
    flush();
}
