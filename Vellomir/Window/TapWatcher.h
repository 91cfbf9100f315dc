#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Emits a signal for each tap or click anywhere in a window, before the items get it, and consumes
/// none. A drag is not a tap.
class TapWatcher : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// Not owned.
    Q_PROPERTY(QObject *window READ window WRITE setWindow NOTIFY windowChanged)

public:
    explicit TapWatcher(QObject *parent = nullptr) : QObject(parent) {}

    [[nodiscard]] QObject *window() const { return window_; }
    void setWindow(QObject *window);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void windowChanged();
    void tapped(const QPointF &place);

private:
    QPointer<QObject> window_;
    QPointF pressedAt_;
};

} // namespace vellomir
