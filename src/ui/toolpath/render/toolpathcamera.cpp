#include "toolpathcamera.h"

#include "toolpath/toolpathstore.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

double radians(double degrees)
{
    return degrees * std::numbers::pi / 180;
}

} // namespace

void ToolpathCamera::setView(View view)
{
    m_view = view;
    switch (view) {
    case View::top:
        m_yaw = 0, m_pitch = 0;
        break;
    case View::front:
        m_yaw = 0, m_pitch = -90;
        break;
    case View::side:
        m_yaw = -90, m_pitch = -90;
        break;
    case View::iso:
        // The classic isometric corner: looking from +X −Y +Z, each axis equally foreshortened.
        m_yaw = -45, m_pitch = -std::acos(1 / std::sqrt(3.0)) * 180 / std::numbers::pi;
        break;
    case View::free:
    case View::turning:
        break;
    }
}

void ToolpathCamera::rotateBy(double dx, double dy)
{
    if (!rotates())
        return;
    m_view = View::free;
    m_yaw = std::remainder(m_yaw + dx * 0.4, 360.0);
    m_pitch = std::clamp(m_pitch + dy * 0.4, -180.0, 0.0);
}

// Rows of Rx(pitch)·Rz(yaw): the model directions that point right and up on screen.
std::array<double, 3> ToolpathCamera::right() const
{
    if (m_view == View::turning)
        return {0, 0, 1};
    const double c = std::cos(radians(m_yaw)), s = std::sin(radians(m_yaw));
    return {c, -s, 0};
}

std::array<double, 3> ToolpathCamera::up() const
{
    if (m_view == View::turning)
        return {1, 0, 0};
    const double c = std::cos(radians(m_yaw)), s = std::sin(radians(m_yaw));
    const double cp = std::cos(radians(m_pitch)), sp = std::sin(radians(m_pitch));
    return {cp * s, cp * c, -sp};
}

ToolpathCamera::Projection ToolpathCamera::projection() const
{
    const std::array<double, 3> r = right(), u = up();
    const double cx = m_viewport.width() / 2.0, cy = m_viewport.height() / 2.0;
    const double rc = r[0] * m_centre[0] + r[1] * m_centre[1] + r[2] * m_centre[2];
    const double uc = u[0] * m_centre[0] + u[1] * m_centre[1] + u[2] * m_centre[2];
    Projection p;
    for (int axis = 0; axis < 3; ++axis) {
        p.m[axis] = float(r[axis] * m_scale);
        p.m[4 + axis] = float(-u[axis] * m_scale);
    }
    p.m[3] = float(cx - rc * m_scale);
    p.m[7] = float(cy + uc * m_scale);
    return p;
}

QPointF ToolpathCamera::project(const std::array<float, 3> &p) const
{
    return projection().map(p[0], p[1], p[2]);
}

void ToolpathCamera::fit(const ToolpathStore &store, double marginPx)
{
    const std::array<double, 3> r = right(), u = up();
    double minR = 0, maxR = 0, minU = 0, maxU = 0;
    bool any = false;
    for (const ToolpathStore::Box &box : store.chunkBoxes()) {
        for (int corner = 0; corner < 8; ++corner) {
            const double x = corner & 1 ? box.max[0] : box.min[0];
            const double y = corner & 2 ? box.max[1] : box.min[1];
            const double z = corner & 4 ? box.max[2] : box.min[2];
            const double pr = r[0] * x + r[1] * y + r[2] * z, pu = u[0] * x + u[1] * y + u[2] * z;
            if (!any) {
                minR = maxR = pr, minU = maxU = pu, any = true;
            }
            minR = std::min(minR, pr), maxR = std::max(maxR, pr);
            minU = std::min(minU, pu), maxU = std::max(maxU, pu);
        }
    }
    const double midR = (minR + maxR) / 2, midU = (minU + maxU) / 2;
    for (int axis = 0; axis < 3; ++axis)
        m_centre[axis] = midR * r[axis] + midU * u[axis];
    const double width = std::max(1.0, m_viewport.width() - 2 * marginPx);
    const double height = std::max(1.0, m_viewport.height() - 2 * marginPx);
    // A single point or a straight line along the view axis still gets a finite scale.
    const double extentR = std::max(maxR - minR, 1e-3), extentU = std::max(maxU - minU, 1e-3);
    m_scale = std::min(width / extentR, height / extentU);
}

void ToolpathCamera::zoomAt(QPointF pixel, double factor)
{
    const double newScale = std::clamp(m_scale * factor, 1e-6, 1e7);
    const double dx = pixel.x() - m_viewport.width() / 2.0, dy = pixel.y() - m_viewport.height() / 2.0;
    const double kx = dx / m_scale - dx / newScale, ky = dy / m_scale - dy / newScale;
    const std::array<double, 3> r = right(), u = up();
    for (int axis = 0; axis < 3; ++axis)
        m_centre[axis] += kx * r[axis] - ky * u[axis];
    m_scale = newScale;
}

void ToolpathCamera::panBy(QPointF deltaPx)
{
    const std::array<double, 3> r = right(), u = up();
    for (int axis = 0; axis < 3; ++axis)
        m_centre[axis] -= deltaPx.x() / m_scale * r[axis] - deltaPx.y() / m_scale * u[axis];
}

bool ToolpathCamera::sameRotation(const ToolpathCamera &other) const
{
    return right() == other.right() && up() == other.up();
}
