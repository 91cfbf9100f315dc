#pragma once

#include "Vellomir/Sending/QrCode.h"

#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace vellomir {

/// A text as a QR code, black on white with the border that scanners need. All modules have the
/// same whole number of device pixels.
class QrCodeItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString text READ text WRITE setText NOTIFY textChanged)

public:
    explicit QrCodeItem(QQuickItem *parent = nullptr);

    [[nodiscard]] QString text() const { return text_; }
    /// Nothing but white is drawn for an empty text, and for one that is too long.
    void setText(const QString &text);
    void paint(QPainter *painter) override;

signals:
    void textChanged();

private:
    QString text_;
    std::optional<QrCode> code_;
};

} // namespace vellomir
