#pragma once

#include <QColor>
#include <QImage>
#include <QQuickWindow>

namespace test {

/// The window as it is drawn at one moment. Places are in points, as on the screen.
class Drawing {
public:
    explicit Drawing(QQuickWindow &window);

    [[nodiscard]] QColor at(const QPointF &place) const;
    /// The colour of what is drawn on a ground of one colour, such as a text: its edges are blends
    /// of both, so it is the one that is farthest from the ground.
    [[nodiscard]] QColor ink(const QRectF &area, const QColor &ground) const;
    /// Whether anything of the area has another colour than that.
    [[nodiscard]] bool hasInk(const QRectF &area, const QColor &ground) const;

    friend bool operator==(const Drawing &, const Drawing &) = default;

private:
    [[nodiscard]] QRect pixels(const QRectF &area) const;

    QImage image_;
};

/// The sum of the differences of red, green and blue, 0 to 765.
[[nodiscard]] int distance(const QColor &one, const QColor &other);

} // namespace test
