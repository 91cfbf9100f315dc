#pragma once

#include "Vellomir/Pictures/Picture.h"

#include <QImage>

#include <string>
#include <vector>

namespace vellomir::test {

using Pixel = std::vector<unsigned>; ///< red, green, blue and, where the bitmap has it, alpha

[[nodiscard]] Picture decode(const std::string &bytes);

/// The same, scaled down to this longer side and turned upright.
[[nodiscard]] Picture small(const std::string &bytes, int maximumSide);

/// What is said of bytes that are no picture, after a look at the error; empty if they are one.
[[nodiscard]] std::string refusal(const std::string &bytes);

/// The same, decoded in this process: for tests with hundreds of files.
[[nodiscard]] std::string refusalHere(const std::string &bytes);

[[nodiscard]] Pixel pixel(const Bitmap &bitmap, int x, int y);

/// All of them, row by row.
[[nodiscard]] std::vector<Pixel> pixels(const Bitmap &bitmap);

/// The image as a file, by Qt.
[[nodiscard]] std::string encoded(const QImage &image, const char *format, int quality = 100);

/// Red and green above, blue and white below. Both sides are even.
[[nodiscard]] QImage quarters(int width = 32, int height = 16);

/// The initials of the colours near the corners, row by row.
[[nodiscard]] std::string corners(const Bitmap &bitmap);

} // namespace vellomir::test
