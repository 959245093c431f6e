#pragma once

#include "toolpathcamera.h"
#include "toolpathrenderer.h"

#include <QElapsedTimer>
#include <QImage>

#include <functional>

// The picture of a path while it is still being interpreted: `check` is
// called on the interpreting thread between two of the interpreter's
// checks (the store does not grow meanwhile); after `firstMs`, then every
// `everyMs`, it draws the part read so far and hands the picture to
// `deliver` (on that thread). Later pictures add only the vertices since the
// last one over the same picture, unless the path has left it: then the
// camera is fitted again, with room to grow, and the path drawn whole.
class ToolpathPreview {
public:
    ToolpathPreview(const ToolpathCamera &camera, const ToolpathStyle &style, std::function<void(QImage)> deliver,
                    qint64 firstMs, qint64 everyMs);

    void check(const ToolpathStore &store);
    std::size_t drawnVertices() const { return m_drawn; }
    const ToolpathCamera &camera() const { return m_camera; }

private:
    bool leavesPicture(const ToolpathStore &store) const;

    ToolpathCamera m_camera;
    ToolpathStyle m_style;
    std::function<void(QImage)> m_deliver;
    QElapsedTimer m_clock;
    qint64 m_nextMs;
    qint64 m_everyMs;
    std::size_t m_drawn = 0;
    QImage m_image;
};
