#include "Vellomir/Window/SymbolProvider.h"

#include <QImageReader>

namespace vellomir {

QImage SymbolProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize) {
    QImageReader reader(QStringLiteral(":/Vellomir/Assets/%1.svg").arg(id), "svg");
    if (requestedSize.isValid())
        reader.setScaledSize(requestedSize);
    QImage symbol = reader.read();
    if (size != nullptr)
        *size = symbol.size();
    return symbol;
}

} // namespace vellomir
