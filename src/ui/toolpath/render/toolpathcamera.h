#pragma once

#include <QPointF>
#include <QSize>

#include <array>

class ToolpathStore;

// How the path is looked at: an orthographic projection of the store's
// positions (millimetres relative to the store's origin) onto a viewport in
// pixels. The standard views are fixed rotations; dragging turns the camera
// freely. Turning shows the lathe's half-section: Z to the right, X (a radius
// in the store) up, and never rotates.
//
// A camera is a small value: the view copies it to a worker thread, and a
// finished picture remembers the camera it was drawn with.
class ToolpathCamera {
public:
    enum class View { top, front, side, iso, free, turning };

    // screen x = x·m[0] + y·m[1] + z·m[2] + m[3]; screen y likewise with m[4..7].
    struct Projection {
        std::array<float, 8> m{};
        QPointF map(float x, float y, float z) const
        {
            return {x * m[0] + y * m[1] + z * m[2] + m[3], x * m[4] + y * m[5] + z * m[6] + m[7]};
        }
    };

    View view() const { return m_view; }
    void setView(View view);
    // Turns the camera by a pointer drag of (dx, dy) pixels; leaves turning alone.
    void rotateBy(double dx, double dy);
    bool rotates() const { return m_view != View::turning; }

    QSize viewport() const { return m_viewport; }
    void setViewport(QSize size) { m_viewport = size; }
    double scale() const { return m_scale; } // pixels per millimetre

    // Shows the whole store with a margin of `marginPx` on every side.
    void fit(const ToolpathStore &store, double marginPx = 16);
    // Zooms by `factor`, keeping the model point under `pixel` where it is.
    void zoomAt(QPointF pixel, double factor);
    void panBy(QPointF deltaPx);

    Projection projection() const;
    QPointF project(const std::array<float, 3> &p) const;

    // Same rotation (the picture of one may be moved and scaled into the other).
    bool sameRotation(const ToolpathCamera &other) const;
    bool operator==(const ToolpathCamera &other) const = default;

private:
    std::array<double, 3> right() const;
    std::array<double, 3> up() const;

    View m_view = View::top;
    double m_yaw = 0;   // degrees about Z
    double m_pitch = 0; // degrees about the screen's horizontal axis; 0 looks down Z
    QSize m_viewport{640, 480};
    double m_scale = 1;
    std::array<double, 3> m_centre{}; // model point at the viewport's centre
};
