#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Tells of each tap, or click, anywhere in a window before it reaches what lies there, and takes
/// none of them away. A drag is no tap.
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
