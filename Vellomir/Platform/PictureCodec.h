#pragma once

#include "Vellomir/Platform/Picture.h"

#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// Reads and writes the formats of pictures. It lives in a library of its own, loaded when the
/// first picture comes: what it needs takes several milliseconds to load, which a program that
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
    Encoded (*encode)(const Bitmap &bitmap);

    /// The name of the function in the library that returns the codec: `const PictureCodec *()`.
    static constexpr const char *entryPoint = "vellomirPictureCodec";
};

/// Loads the library on the first call; it stays. Any thread. Throws `PictureError::missingCodec`.
[[nodiscard]] const PictureCodec &pictureCodec();

} // namespace vellomir
