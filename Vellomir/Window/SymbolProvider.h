#pragma once

#include <QQuickImageProvider>

namespace vellomir {

/// Draws the application's SVG symbols by their names, such as "info.circle". Qt asks every library
/// for picture formats before it reads the first image of a file; this one needs only that for SVG.
class SymbolProvider : public QQuickImageProvider {
public:
    static constexpr const char *name = "symbols";

    SymbolProvider() : QQuickImageProvider(Image) {}

    /// In the size that is asked for, in device pixels; a null image for an unknown name. Any
    /// thread.
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

} // namespace vellomir
