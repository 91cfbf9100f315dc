#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace vellomir {

/// Turns a double click or double tap on a control into one press: it drops a press that follows
/// another within the desktop's double-click time. Keys are not affected.
class DoubleClickFilter : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// Not owned.
    Q_PROPERTY(QObject *control READ control WRITE setControl NOTIFY controlChanged)

public:
    explicit DoubleClickFilter(QObject *parent = nullptr) : QObject(parent) {}

    [[nodiscard]] QObject *control() const { return control_; }
    void setControl(QObject *control);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void controlChanged();

private:
    [[nodiscard]] bool isRepeated(quint64 time);

    QObject *control_ = nullptr;
    std::optional<quint64> lastPress_; ///< milliseconds, by the events' timestamps
};

} // namespace vellomir
