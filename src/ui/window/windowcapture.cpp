#include "windowcapture.h"

#include <QApplication>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <cmath>

QSize WindowCapture::captureSize(const std::optional<QString> &heightValue)
{
    double width = defaultWidth;
    if (heightValue && !heightValue->isEmpty() && heightValue->trimmed().size() == heightValue->size()) {
        bool ok = false;
        const double parsed = heightValue->toDouble(&ok);
        if (ok && std::isfinite(parsed)) {
            width = parsed;
        }
    }
    width = std::clamp(width, double(minimumWidth), double(maximumWidth));
    return {int(std::lround(width)), height};
}

QWidget *WindowCapture::chooseWindow(const QWidgetList &windows)
{
    QWidget *chosen = nullptr;
    qint64 chosenArea = -1;
    for (QWidget *window : windows) {
        if (!window->isVisible() || window->width() <= 300) {
            continue;
        }
        const qint64 area = qint64(window->width()) * window->height();
        if (area > chosenArea) {
            chosen = window;
            chosenArea = area;
        }
    }
    return chosen;
}

bool WindowCapture::writePng(QWidget *window, const QString &path)
{
    const QPixmap image = window->grab();
    return !image.isNull() && image.save(path, "PNG");
}

void WindowCapture::captureAndExit(const QString &path)
{
    QWidget *window = chooseWindow(QApplication::topLevelWidgets());
    if (!window) {
        QCoreApplication::exit(0);
        return;
    }
    const std::optional<QString> value = qEnvironmentVariableIsSet("VARN_SHOT_HEIGHT")
                                             ? std::optional<QString>(qEnvironmentVariable("VARN_SHOT_HEIGHT"))
                                             : std::nullopt;
    window->resize(captureSize(value));
    QCoreApplication::processEvents();
    QTimer::singleShot(settleMs, qApp, [window = QPointer<QWidget>(window), path] {
        if (window) {
            writePng(window, path); // a failed write is not reported: there is no one to tell
        }
        QCoreApplication::exit(0);
    });
}
