#pragma once

#include <QPointer>
#include <QValidator>
#include <QtQml/qqmlregistration.h>

namespace vellomir {

/// Keeps line breaks out of a field of one line, whichever way they come: they are dropped. All
/// other text is taken unchanged.
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
