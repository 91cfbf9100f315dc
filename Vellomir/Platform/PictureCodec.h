#pragma once

#include "Vellomir/Platform/Picture.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// Reads and writes the formats of pictures. It lives in libraries of their own, loaded when the
/// first picture comes: what they need takes several milliseconds to load, which a program that
/// handles no picture shall not spend.
struct PictureCodec {
    struct Decoded {
        Bitmap bitmap;
        Orientation orientation = Orientation::up;
        std::string error; ///< why there is no bitmap
    };
    struct Encoded {
        std::vector<std::byte> png;
        std::string error; ///< why there is no PNG
    };

    Decoded (*decode)(std::span<const std::byte> bytes);
    Encoded (*encode)(const Bitmap &bitmap); ///< null in a library that only reads

    /// Larger pictures are refused before they are decoded.
    static constexpr std::int64_t maximumPixels = 256 << 20;

    /// The most pixels that a file of this size, in bytes, may have: 16 million, which take little
    /// memory, and for each byte as many as a PNG of one bit a pixel can pack into it. So the
    /// memory is bounded by the file's size, also in formats that pack without limit.
    [[nodiscard]] static constexpr std::int64_t pixelLimit(std::size_t fileSize) {
        constexpr std::int64_t always = 16 << 20;
        constexpr std::int64_t perByte = 8256;
        const auto most = static_cast<std::size_t>((maximumPixels - always) / perByte);
        return fileSize >= most ? maximumPixels
                                : always + perByte * static_cast<std::int64_t>(fileSize);
    }

    /// The name of the function in a library that returns the codec: `const PictureCodec *()`.
    static constexpr const char *entryPoint = "vellomirPictureCodec";
};

/// Loads the library on the first call; it stays. Any thread. Throws `PictureError::missingCodec`.
[[nodiscard]] const PictureCodec &pictureCodec();

/// The one that reads HEIC, loaded in the same way; null where it was not built.
[[nodiscard]] const PictureCodec *heifPictureCodec();

} // namespace vellomir
