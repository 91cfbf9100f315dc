#pragma once

#include "Vellomir/Pictures/PictureLimits.h"
#include "archive/Data.h"
#include "archive/URL.h"
#include "files/Error.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace vellomir {

/// How a stored bitmap must be turned for display. The values are EXIF's: the side of the scene
/// that the first row and the first column of the bitmap show.
enum class Orientation {
    up = 1,
    upMirrored = 2,
    down = 3,
    downMirrored = 4,
    leftMirrored = 5,
    right = 6, ///< by 90 degrees clockwise
    rightMirrored = 7,
    left = 8, ///< by 90 degrees counter-clockwise
};

/// Rows of pixels, top down, each pixel red, green, blue and alpha; alpha is not multiplied into
/// the colours. 8 bits a channel, or 16 in the machine's byte order.
struct Bitmap {
    int width = 0;
    int height = 0;
    bool isDeep = false;   ///< 16 bits a channel
    bool hasAlpha = false; ///< else the fourth channel says nothing
    std::size_t bytesPerRow = 0;
    std::shared_ptr<const std::byte> pixels; ///< shared by all copies, never written

    [[nodiscard]] std::size_t bytesPerPixel() const { return isDeep ? 8 : 4; }

    friend bool operator==(const Bitmap &, const Bitmap &) = default;
};

enum class PictureError {
    unreadablePicture = 1, ///< the bytes are no picture of a known kind, or damaged
    unwritablePicture,     ///< the picture cannot be encoded
    missingCodec,          ///< the program that reads and writes pictures is not installed
};

[[nodiscard]] std::error_code make_error_code(PictureError error);

/// Asked again and again during a long operation, by the thread that works; true ends it.
using Cancellation = std::function<bool()>;

/// Which pictures to decode, and how.
struct DecodingOptions {
    int maximumSide = 0; ///< of a bitmap that is scaled down and turned upright; 0: as it is stored
    std::int64_t mostPixels = maximumPixels; ///< larger pictures are refused
};

/// A picture: stored pixels, how many of them make a point, and how they must be turned. A value;
/// copies share the pixels, and any thread may use them. Two pictures are equal if they share them.
class Picture {
public:
    /// A picture without a bitmap.
    Picture() = default;
    explicit Picture(Bitmap bitmap, double scale = 1, Orientation orientation = Orientation::up)
        : bitmap_(std::move(bitmap)), scale_(scale), orientation_(orientation) {}

    /// PNG, JPEG, GIF, BMP, ICO; HEIC, WebP, TIFF and others where the system can. The content
    /// decides, not the name. Of several pictures in a file, the first. The pixels are as stored,
    /// the orientation as tagged; HEIC pictures are upright already. A process of its own decodes
    /// them, within limits of memory and time. Throws `PictureError` or a `FileError`, with the
    /// path, and `ArchiveError::cancelledOperation`.
    [[nodiscard]] static Picture read(const archive::URL &url, const DecodingOptions &options = {},
                                      const Cancellation &isCancelled = {});
    /// The same from memory. `name` is the path in errors.
    [[nodiscard]] static Picture decode(std::span<const std::byte> bytes, const std::string &name,
                                        const DecodingOptions &options = {});

    [[nodiscard]] bool hasBitmap() const { return bitmap_.pixels != nullptr; }
    [[nodiscard]] const Bitmap &bitmap() const { return bitmap_; }
    [[nodiscard]] double scale() const { return scale_; }
    [[nodiscard]] Orientation orientation() const { return orientation_; }

    /// A PNG of the picture turned upright, with the pixels and the alpha that it has, and nothing
    /// else: no colour profile, no text, no resolution. Made in a process of its own. Throws
    /// `PictureError`, and `ArchiveError::cancelledOperation`.
    [[nodiscard]] archive::Data pngData(const Cancellation &isCancelled = {}) const;

    friend bool operator==(const Picture &, const Picture &) = default;

private:
    Bitmap bitmap_;
    double scale_ = 1;
    Orientation orientation_ = Orientation::up;
};

/// The centred square of the stored pixels, with the picture's scale and orientation. Where an odd
/// number of pixels is over, the square starts before the half pixel, so that it stays a square and
/// no pixel is made up. A picture without a bitmap ends the program.
[[nodiscard]] Picture cropImageToSquare(const Picture &image);

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::PictureError> : std::true_type {};
