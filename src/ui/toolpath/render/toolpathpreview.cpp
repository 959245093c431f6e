#include "toolpathpreview.h"

#include "toolpath/toolpathstore.h"

#include <QRectF>

ToolpathPreview::ToolpathPreview(const ToolpathCamera &camera, const ToolpathStyle &style,
                                 std::function<void(QImage)> deliver, qint64 firstMs, qint64 everyMs)
    : m_camera(camera), m_style(style), m_deliver(std::move(deliver)), m_nextMs(firstMs), m_everyMs(everyMs)
{
    m_clock.start();
}

void ToolpathPreview::check(const ToolpathStore &store)
{
    if (m_clock.elapsed() < m_nextMs || store.size() < 2 || m_camera.viewport().isEmpty())
        return;
    ToolpathRenderOptions options;
    options.fromVertex = std::uint32_t(m_drawn);
    if (m_drawn == 0 || leavesPicture(store)) {
        m_camera.fit(store);
        const QSize size = m_camera.viewport();
        m_camera.zoomAt(QPointF(size.width() / 2.0, size.height() / 2.0), 1 / 1.5);
        options.fromVertex = 0;
    }
    ToolpathRenderer::render(store, m_camera, m_style, options, m_image);
    m_drawn = store.size();
    m_deliver(m_image);
    m_nextMs = m_clock.elapsed() + m_everyMs;
}

bool ToolpathPreview::leavesPicture(const ToolpathStore &store) const
{
    const QRectF picture(QPointF(0, 0), QSizeF(m_camera.viewport()));
    const auto &boxes = store.chunkBoxes();
    for (std::size_t chunk = m_drawn / ToolpathStore::chunkSize; chunk < boxes.size(); ++chunk) {
        for (int corner = 0; corner < 8; ++corner) {
            const std::array<float, 3> p{corner & 1 ? boxes[chunk].max[0] : boxes[chunk].min[0],
                                         corner & 2 ? boxes[chunk].max[1] : boxes[chunk].min[1],
                                         corner & 4 ? boxes[chunk].max[2] : boxes[chunk].min[2]};
            if (!picture.contains(m_camera.project(p)))
                return true;
        }
    }
    return false;
}
