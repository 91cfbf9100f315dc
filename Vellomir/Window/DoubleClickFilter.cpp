#include "Vellomir/Window/DoubleClickFilter.h"

#include <QGuiApplication>
#include <QPointerEvent>
#include <QStyleHints>

#include <utility>

namespace vellomir {

void DoubleClickFilter::setControl(QObject *control) {
    if (control_ == control)
        return;
    if (control_ != nullptr)
        control_->removeEventFilter(this);
    control_ = control;
    if (control_ != nullptr)
        control_->installEventFilter(this);
    emit controlChanged();
}

bool DoubleClickFilter::eventFilter(QObject *watched, QEvent *event) {
    switch (event->type()) {
    case QEvent::MouseButtonDblClick: // A press event comes before this event.
        return true;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        return isRepeated(static_cast<QPointerEvent *>(event)->timestamp());
    default:
        return QObject::eventFilter(watched, event);
    }
}

/// Each press is compared with the previous one, so a triple click is one press too.
bool DoubleClickFilter::isRepeated(quint64 time) {
    const auto before = std::exchange(lastPress_, time);
    const auto interval =
        static_cast<quint64>(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    return before && time >= *before && time - *before < interval;
}

} // namespace vellomir
