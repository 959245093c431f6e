#pragma once

#include "toolpath/render/toolpathcamera.h"
#include "toolpath/render/toolpathrenderer.h"

#include "toolpath/toolpathstore.h"

#include <QFutureWatcher>
#include <QImage>
#include <QTimer>
#include <QWidget>

#include <memory>


// The picture of a path on screen, and the pointer's ways of looking at it.
//
// Pictures are drawn on worker threads (ToolpathRenderer); the main thread
// only shows the last finished one, moved and scaled to the current camera
// while a new one is drawn, so panning and zooming cost a blit. While the
// camera turns, the coarse level is drawn instead and the full picture
// follows once the pointer rests; both are drawn off the main thread. The selected move and the transfer's
// marker are drawn over the picture at paint time: the caret moving never
// redraws the path.
//
// Left drag turns (not in turning), middle drag or Shift+drag pans, the wheel
// zooms at the pointer, a double click fits. A click puts the line of the
// nearest move within 8 pixels out through `lineClicked`; clicking again at
// the same place walks through the other moves under the pointer.
class ToolpathView : public QWidget {
    Q_OBJECT

public:
    explicit ToolpathView(QWidget *parent = nullptr);
    ~ToolpathView() override;

    // Shows a finished store (and its coarse level, may be null); fits it
    // when `fit` is set or nothing was shown before.
    void setStore(std::shared_ptr<const ToolpathStore> store, std::shared_ptr<const ToolpathStore> coarse, bool fit);
    const ToolpathStore *store() const { return m_store.get(); }
    // A picture of the part of a program interpreted so far, shown while no
    // path is (an empty program's store has one vertex) and until the first
    // picture of the next store is ready.
    void setPreview(const QImage &image);
    bool showsPath() const { return m_store && m_store->size() > 1; }
    bool showsPreview() const { return !m_preview.isNull() && (!showsPath() || m_picture.isNull()); }
    void setStyle(const ToolpathStyle &style);
    void setView(ToolpathCamera::View view);
    ToolpathCamera::View view() const { return m_camera.view(); }
    const ToolpathCamera &camera() const { return m_camera; }
    void fit();

    // The caret's line: its move is drawn selected, and its tool's moves
    // brighter; the view scrolls only when the move is outside.
    void setCaretLine(int line);
    // Lines before `line` have been sent; `line` is being received (0: no transfer).
    void setTransferLine(int line);
    int transferLine() const { return m_transferLine; }

    // The last finished picture (tests, captures).
    const QImage &picture() const { return m_picture; }
    bool isRendering() const { return m_rendering; }

signals:
    void lineClicked(int line);
    void pictureReady();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    struct Picture {
        QImage image;
        ToolpathCamera camera;
        quint64 generation = 0;
    };

    void cameraChanged(int delayMs);
    void startRender();
    void renderFinished();
    void startCoarseRender();
    ToolpathRenderOptions renderOptions() const;
    std::uint32_t vertexOfLine(int line) const;
    void clickAt(QPointF pixel);

    std::shared_ptr<const ToolpathStore> m_store;
    std::shared_ptr<const ToolpathStore> m_coarse;
    ToolpathStyle m_style = ToolpathStyle::forAppearance(true);
    ToolpathCamera m_camera;
    QImage m_picture;
    ToolpathCamera m_pictureCamera;
    std::uint32_t m_pictureSentEnd = 0;
    // While turning: the coarse level drawn on a worker for the newest camera
    // it could take; the main thread only shows the last one finished.
    QImage m_coarsePicture;
    ToolpathCamera m_coarseCamera;
    QFutureWatcher<Picture> m_coarseWatcher;
    QImage m_preview;
    QFutureWatcher<Picture> m_watcher;
    QTimer m_renderDelay;
    quint64 m_generation = 0;
    bool m_rendering = false;
    bool m_rerender = false;
    // Until the user moves the camera, a resize fits the path again.
    bool m_fitted = true;

    int m_caretLine = 0;
    int m_brightTool = -1;
    int m_transferLine = 0;

    enum class Drag { none, turn, pan };
    Drag m_drag = Drag::none;
    QPointF m_pressAt;
    QPointF m_lastPointer;
    bool m_moved = false;
    QPointF m_lastClick{-1e9, -1e9};
    int m_clickCycle = 0;
};
