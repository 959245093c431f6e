#include "toolpathview.h"

#include "toolpath/render/toolpathpicker.h"

#include "toolpath/toolpathstore.h"

#include <QMouseEvent>
#include <QPainter>
#include <QtConcurrent>

#include <atomic>
#include <cmath>

namespace {

// The newest render asked for; older ones stop at their next chunk.
std::atomic<quint64> latestRender{0};

constexpr int restDelayMs = 150; // after the pointer rests, the full picture
constexpr double clickRadiusPx = 8;

} // namespace

ToolpathView::ToolpathView(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("toolpathView"));
    setMinimumSize(160, 120);
    setMouseTracking(false);
    setFocusPolicy(Qt::ClickFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    m_renderDelay.setSingleShot(true);
    connect(&m_renderDelay, &QTimer::timeout, this, &ToolpathView::startRender);
    connect(&m_watcher, &QFutureWatcher<Picture>::finished, this, &ToolpathView::renderFinished);
    connect(&m_coarseWatcher, &QFutureWatcher<Picture>::finished, this, [this] {
        const Picture picture = m_coarseWatcher.result();
        if (picture.generation == m_generation) {
            m_coarsePicture = picture.image;
            m_coarseCamera = picture.camera;
        }
        update(); // a camera that moved meanwhile starts the next one
    });
}

ToolpathView::~ToolpathView()
{
    ++latestRender;
    m_watcher.waitForFinished();
    m_coarseWatcher.waitForFinished();
}

void ToolpathView::setStore(std::shared_ptr<const ToolpathStore> store, std::shared_ptr<const ToolpathStore> coarse,
                            bool fitIt)
{
    const bool first = !m_store;
    // Another program's picture (or an empty one's) is never shown moved and scaled under this one.
    if (!showsPath() || fitIt)
        m_picture = QImage();
    if (!store)
        m_preview = QImage();
    m_store = std::move(store);
    m_coarse = std::move(coarse);
    m_coarsePicture = QImage();
    m_brightTool = -1;
    m_pictureSentEnd = 0;
    if (m_store && (fitIt || first || m_fitted)) {
        m_camera.fit(*m_store);
        m_fitted = true;
    }
    setCaretLine(m_caretLine);
    cameraChanged(0);
}

void ToolpathView::setPreview(const QImage &image)
{
    m_preview = image;
    update();
}

void ToolpathView::setStyle(const ToolpathStyle &style)
{
    m_style = style;
    cameraChanged(0);
}

void ToolpathView::setView(ToolpathCamera::View view)
{
    m_camera.setView(view);
    if (m_store)
        m_camera.fit(*m_store);
    m_fitted = true;
    cameraChanged(0);
}

void ToolpathView::fit()
{
    if (m_store)
        m_camera.fit(*m_store);
    m_fitted = true;
    cameraChanged(0);
}

std::uint32_t ToolpathView::vertexOfLine(int line) const
{
    if (!m_store || line <= 0)
        return std::uint32_t(m_store ? m_store->size() : 0);
    return m_store->firstVertexOfLine(std::uint32_t(line));
}

void ToolpathView::setCaretLine(int line)
{
    m_caretLine = line;
    if (!m_store) {
        update();
        return;
    }
    const std::uint32_t vertex = vertexOfLine(line);
    if (vertex < m_store->size()) {
        // Brighter tool only when there is more than one to tell apart.
        const int tool = m_store->toolChanges().size() > 1 ? m_store->toolAt(vertex) : -1;
        if (tool != m_brightTool) {
            m_brightTool = tool;
            cameraChanged(0);
        }
        const QPointF at = m_camera.project(m_store->position(vertex));
        if (!rect().contains(at.toPoint())) {
            m_fitted = false;
            m_camera.panBy(QPointF(width() / 2.0, height() / 2.0) - at);
            cameraChanged(0);
        }
    }
    update();
}

void ToolpathView::setTransferLine(int line)
{
    const std::uint32_t before = m_transferLine > 0 ? vertexOfLine(m_transferLine) : 0;
    m_transferLine = line;
    if (!m_store)
        return;
    std::uint32_t sentEnd = 0;
    if (line > 0) {
        // The first vertex of the line being received, or of the next line that made one.
        sentEnd = vertexOfLine(line);
        for (int next = line + 1; sentEnd >= m_store->size() && next <= line + 64; ++next)
            sentEnd = vertexOfLine(next);
        sentEnd = std::min<std::uint32_t>(sentEnd, std::uint32_t(m_store->size()));
    }
    if (!m_picture.isNull() && m_pictureCamera == m_camera && sentEnd > m_pictureSentEnd && before <= sentEnd) {
        // Only the newly sent stretch is drawn, over the picture there is.
        QPainter painter(&m_picture);
        painter.setRenderHint(QPainter::Antialiasing);
        ToolpathRenderer::drawRange(*m_store, m_camera, painter, m_pictureSentEnd, sentEnd, m_style.sent, 1.0);
        m_pictureSentEnd = sentEnd;
    } else if (sentEnd != m_pictureSentEnd) {
        cameraChanged(0);
    }
    update();
}

ToolpathRenderOptions ToolpathView::renderOptions() const
{
    ToolpathRenderOptions options;
    options.brightTool = m_brightTool;
    if (m_store && m_transferLine > 0) {
        std::uint32_t sentEnd = vertexOfLine(m_transferLine);
        options.sentEnd = std::min<std::uint32_t>(sentEnd, std::uint32_t(m_store->size()));
    }
    return options;
}

void ToolpathView::cameraChanged(int delayMs)
{
    update();
    m_renderDelay.start(delayMs);
}

void ToolpathView::startRender()
{
    if (!m_store || width() <= 0 || height() <= 0)
        return;
    if (m_rendering) {
        // One render at a time; the newest request runs when this one ends.
        m_rerender = true;
        ++latestRender;
        return;
    }
    m_camera.setViewport(size());
    m_rendering = true;
    m_rerender = false;
    const quint64 generation = ++latestRender;
    m_generation = generation;
    m_watcher.setFuture(QtConcurrent::run([store = m_store, camera = m_camera, style = m_style,
                                           options = renderOptions(), generation] {
        Picture picture{QImage(), camera, generation};
        ToolpathRenderer::render(*store, camera, style, options, picture.image,
                                 [generation] { return latestRender.load() != generation; });
        return picture;
    }));
}

void ToolpathView::startCoarseRender()
{
    if (m_coarseWatcher.isRunning() || !m_coarse)
        return;
    ToolpathRenderOptions options = renderOptions();
    options.sentEnd = 0;
    // Aliased lines cost about half as much, and in motion the steps are not seen. One band:
    // the other core stays free for the main thread, and frames come at an even pace.
    options.antialiased = false;
    options.bands = 1;
    ToolpathCamera camera = m_camera;
    camera.setViewport(size());
    m_coarseWatcher.setFuture(QtConcurrent::run([coarse = m_coarse, camera, style = m_style, options,
                                                 generation = m_generation] {
        Picture picture{QImage(), camera, generation};
        ToolpathRenderer::render(*coarse, camera, style, options, picture.image);
        return picture;
    }));
}

void ToolpathView::renderFinished()
{
    m_rendering = false;
    const Picture picture = m_watcher.result();
    if (picture.generation == latestRender.load() && !m_rerender) {
        m_picture = picture.image;
        m_pictureCamera = picture.camera;
        m_preview = QImage();
        m_pictureSentEnd = renderOptions().sentEnd;
        update();
        emit pictureReady();
    }
    if (m_rerender || !(m_pictureCamera == m_camera))
        startRender();
}

void ToolpathView::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.fillRect(rect(), m_style.background);
    if (showsPreview()) {
        painter.drawImage(0, 0, m_preview);
        return;
    }
    if (!m_store)
        return;
    if (!m_picture.isNull() && m_pictureCamera == m_camera) {
        painter.drawImage(0, 0, m_picture);
    } else if (!m_picture.isNull() && m_pictureCamera.sameRotation(m_camera) && m_drag != Drag::turn) {
        // Moved or zoomed: the last picture, moved and scaled, until the new one is ready.
        const std::array<float, 3> zero{0, 0, 0};
        const QPointF a0 = m_pictureCamera.project(zero), a1 = m_camera.project(zero);
        const double k = m_camera.scale() / m_pictureCamera.scale();
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);
        painter.translate(a1 - a0 * k);
        painter.scale(k, k);
        painter.drawImage(0, 0, m_picture);
        painter.restore();
    } else if (m_coarse) {
        // Turned: the coarse level until the full picture follows, a frame behind the pointer at most.
        if (m_coarseCamera.sameRotation(m_camera) || m_drag == Drag::turn)
            painter.drawImage(0, 0, m_coarsePicture);
        if (!(m_coarseCamera == m_camera))
            startCoarseRender();
    }

    painter.setRenderHint(QPainter::Antialiasing);
    const std::uint32_t vertex = vertexOfLine(m_caretLine);
    if (vertex < m_store->size()) {
        std::uint32_t end = vertex + 1;
        while (end < m_store->size() && m_store->line(end) == std::uint32_t(m_caretLine))
            ++end;
        ToolpathRenderer::drawRange(*m_store, m_camera, painter, vertex, end, m_style.selected, 2.5);
    }
    if (m_transferLine > 0) {
        const std::uint32_t at = vertexOfLine(m_transferLine);
        if (at < m_store->size()) {
            painter.setPen(QPen(m_style.marker, 2));
            painter.setBrush(Qt::NoBrush);
            painter.drawEllipse(m_camera.project(m_store->position(at)), 6, 6);
        }
    }
}

void ToolpathView::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    // The model point in the middle stays in the middle; a path not yet seen is fitted.
    m_camera.setViewport(size());
    if (m_store && m_fitted)
        m_camera.fit(*m_store);
    cameraChanged(m_picture.isNull() ? 0 : restDelayMs);
}

void ToolpathView::mousePressEvent(QMouseEvent *event)
{
    m_pressAt = m_lastPointer = event->position();
    m_moved = false;
    if (event->button() == Qt::MiddleButton ||
        (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ShiftModifier)) ||
        (event->button() == Qt::LeftButton && !m_camera.rotates())) {
        m_drag = Drag::pan;
    } else if (event->button() == Qt::LeftButton) {
        m_drag = Drag::turn;
    }
}

void ToolpathView::mouseMoveEvent(QMouseEvent *event)
{
    const QPointF delta = event->position() - m_lastPointer;
    m_lastPointer = event->position();
    if (!m_moved && (event->position() - m_pressAt).manhattanLength() < 4)
        return;
    m_moved = true;
    m_fitted = m_fitted && m_drag == Drag::none;
    if (m_drag == Drag::pan) {
        m_camera.panBy(delta);
        cameraChanged(restDelayMs);
    } else if (m_drag == Drag::turn) {
        m_camera.rotateBy(delta.x(), delta.y());
        cameraChanged(restDelayMs);
    }
}

void ToolpathView::mouseReleaseEvent(QMouseEvent *event)
{
    const bool click = !m_moved && event->button() == Qt::LeftButton;
    const bool turned = m_drag == Drag::turn && m_moved;
    m_drag = Drag::none;
    if (click)
        clickAt(event->position());
    if (turned)
        cameraChanged(0);
}

void ToolpathView::mouseDoubleClickEvent(QMouseEvent *)
{
    fit();
}

void ToolpathView::wheelEvent(QWheelEvent *event)
{
    const double steps = event->angleDelta().y() / 120.0;
    if (steps == 0)
        return;
    m_camera.zoomAt(event->position(), std::pow(1.2, steps));
    m_fitted = false;
    cameraChanged(restDelayMs);
}

void ToolpathView::clickAt(QPointF pixel)
{
    if (!m_store)
        return;
    const std::vector<ToolpathPicker::Hit> hits = ToolpathPicker::pick(*m_store, m_camera, pixel, clickRadiusPx);
    if (hits.empty())
        return;
    // Clicking again where the last click was walks through the moves under the pointer.
    m_clickCycle = (pixel - m_lastClick).manhattanLength() <= 3 ? m_clickCycle + 1 : 0;
    m_lastClick = pixel;
    const ToolpathPicker::Hit &hit = hits[std::size_t(m_clickCycle) % hits.size()];
    emit lineClicked(int(hit.line));
}
