#include "Vellomir/Window/QrCodeItem.h"

#include "Vellomir/Sending/SendingFault.h"

#include <QPainter>

#include <algorithm>

namespace vellomir {

QrCodeItem::QrCodeItem(QQuickItem *parent) : QQuickPaintedItem(parent) {
    setAntialiasing(false);
    setFillColor(Qt::white);
}

void QrCodeItem::setText(const QString &text) {
    if (text_ == text)
        return;
    text_ = text;
    code_.reset();
    try {
        if (!text.isEmpty())
            code_.emplace(text.toStdString());
    } catch (const SendingFault &) { // The address is shown as text as well.
    }
    emit textChanged();
    update();
}

void QrCodeItem::paint(QPainter *painter) {
    if (!code_)
        return;
    const double scale = painter->deviceTransform().m11();
    const int pixels = static_cast<int>(std::min(width(), height()) * scale);
    const int module = std::max(1, pixels / (code_->side() + 2 * QrCode::quietZone));
    const int start = (pixels - module * code_->side()) / 2;
    painter->scale(1 / scale, 1 / scale);
    for (int row = 0; row < code_->side(); ++row)
        for (int column = 0; column < code_->side(); ++column)
            if (code_->isDark(column, row))
                painter->fillRect(start + column * module, start + row * module, module, module,
                                  Qt::black);
}

} // namespace vellomir
