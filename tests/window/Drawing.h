#pragma once

#include <QColor>
#include <QImage>
#include <QQuickWindow>

namespace vellomir::test {

/// The application's colours.
namespace colours {

inline const QColor ground("#13131B");
inline const QColor field("#1D1E24");
inline const QColor logPanel("#1D1D24");
inline const QColor orange("#FFA828");
inline const QColor white("#FFFFFF");
inline const QColor grey("#8E8E93");
inline const QColor red("#FF453A");

} // namespace colours

/// A screenshot of the window. Positions are in points, as on the screen.
class Drawing {
public:
    explicit Drawing(QQuickWindow &window);

    [[nodiscard]] QColor at(const QPointF &place) const;
    /// The colour of something drawn on a plain background, such as text. Its edges are blended, so
    /// this is the colour that differs most from the background.
    [[nodiscard]] QColor ink(const QRectF &area, const QColor &ground) const;
    /// Whether any pixel of the area differs from the background.
    [[nodiscard]] bool hasInk(const QRectF &area, const QColor &ground) const;

    friend bool operator==(const Drawing &, const Drawing &) = default;

private:
    [[nodiscard]] QRect pixels(const QRectF &area) const;

    QImage image_;
};

/// The sum of the differences of red, green and blue, 0 to 765.
[[nodiscard]] int distance(const QColor &one, const QColor &other);

} // namespace vellomir::test
