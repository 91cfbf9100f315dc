#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Limits typing to digits, like a number pad: other typed characters do not reach the field.
/// Pasted and dropped text is not limited, nor are keys that move, delete or leave.
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
