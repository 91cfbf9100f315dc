#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Stands for a keyboard with nothing but digits: typed characters of any other kind do not reach
/// the field. What is pasted or dropped does, and so do the keys that move, delete and leave.
class NumberPad : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// Not owned.
    Q_PROPERTY(QObject *field READ field WRITE setField NOTIFY fieldChanged)

public:
    explicit NumberPad(QObject *parent = nullptr) : QObject(parent) {}

    [[nodiscard]] QObject *field() const { return field_; }
    void setField(QObject *field);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void fieldChanged();

private:
    QObject *field_ = nullptr;
};

} // namespace vellomir
