#include "tests/window/Drawing.h"

#include <cmath>
#include <cstdlib>
#include <stdexcept>

namespace vellomir::test {

Drawing::Drawing(QQuickWindow &window) : image_(window.grabWindow()) {
    if (image_.isNull())
        throw std::runtime_error("the window cannot be drawn");
    // Some platforms do not set the ratio of a grabbed image.
    image_.setDevicePixelRatio(1.0 * image_.width() / window.width());
}

QColor Drawing::at(const QPointF &place) const {
    const QPoint pixel = pixels({place, QSizeF(1, 1)}).topLeft();
    if (!image_.rect().contains(pixel))
        throw std::out_of_range("that place is outside the window");
    return image_.pixelColor(pixel);
}

QColor Drawing::ink(const QRectF &area, const QColor &ground) const {
    QColor farthest = ground;
    const QRect within = pixels(area).intersected(image_.rect());
    for (int y = within.top(); y <= within.bottom(); ++y)
        for (int x = within.left(); x <= within.right(); ++x)
            if (const QColor colour = image_.pixelColor(x, y);
                distance(colour, ground) > distance(farthest, ground))
                farthest = colour;
    return farthest;
}

bool Drawing::hasInk(const QRectF &area, const QColor &ground) const {
    return ink(area, ground) != ground;
}

QRect Drawing::pixels(const QRectF &area) const {
    const double scale = image_.devicePixelRatio();
    const auto pixel = [scale](double points) {
        return static_cast<int>(std::floor(points * scale));
    };
    return {QPoint(pixel(area.left()), pixel(area.top())),
            QPoint(pixel(area.right()) - 1, pixel(area.bottom()) - 1)};
}

int distance(const QColor &one, const QColor &other) {
    return std::abs(one.red() - other.red()) + std::abs(one.green() - other.green()) +
           std::abs(one.blue() - other.blue());
}

} // namespace vellomir::test
