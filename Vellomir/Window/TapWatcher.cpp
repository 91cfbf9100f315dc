#include "Vellomir/Window/TapWatcher.h"

#include <QGuiApplication>
#include <QPointerEvent>
#include <QStyleHints>

namespace vellomir {
namespace {

QPointF placeOf(const QEvent &event) {
    const auto &points = static_cast<const QPointerEvent &>(event).points();
    return points.isEmpty() ? QPointF() : points.constFirst().scenePosition();
}

} // namespace

void TapWatcher::setWindow(QObject *window) {
    if (window_ == window)
        return;
    if (window_)
        window_->removeEventFilter(this);
    window_ = window;
    if (window_)
        window_->installEventFilter(this);
    emit windowChanged();
}

bool TapWatcher::eventFilter(QObject *watched, QEvent *event) {
    switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        pressedAt_ = placeOf(*event);
        break;
    case QEvent::MouseButtonRelease:
    case QEvent::TouchEnd: {
        const QPointF place = placeOf(*event);
        if ((place - pressedAt_).manhattanLength() <
            QGuiApplication::styleHints()->startDragDistance())
            emit tapped(place);
        break;
    }
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace vellomir
