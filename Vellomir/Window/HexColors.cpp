#include "Vellomir/Window/HexColors.h"

#include "Vellomir/HexColor.h"

namespace vellomir {

QColor HexColors::color(const QString &text) {
    const HexColor color = HexColor::parse(text.toStdString());
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue));
}

} // namespace vellomir
