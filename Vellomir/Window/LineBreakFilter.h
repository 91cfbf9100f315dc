#pragma once

#include <QPointer>
#include <QValidator>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Removes line breaks from everything typed, pasted or composed into a field of one line. Other
/// text is not changed.
class LineBreakFilter : public QObject {
    Q_OBJECT
    QML_ELEMENT
    /// Has a property "validator". Not owned.
    Q_PROPERTY(QObject *field READ field WRITE setField NOTIFY fieldChanged)

public:
    explicit LineBreakFilter(QObject *parent = nullptr) : QObject(parent) {}

    [[nodiscard]] QObject *field() const { return field_; }
    void setField(QObject *field);

signals:
    void fieldChanged();

private:
    class Validator : public QValidator {
    public:
        State validate(QString &text, int &caret) const override;
    };

    QPointer<QObject> field_;
    Validator validator_;
};

} // namespace vellomir
