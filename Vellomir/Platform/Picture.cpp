#include "Vellomir/Platform/Picture.h"

#include "Vellomir/Platform/HeifBrand.h"
#include "Vellomir/Platform/PictureCodec.h"
#include "Vellomir/Platform/PictureGeometry.h"
#include "Vellomir/Platform/PictureIntegrity.h"
#include "Vellomir/Platform/WholeFile.h"
#include "archive/ErrorCategory.h"

#include <array>

namespace vellomir {
namespace {

constexpr std::array errors = {
    archive::ErrorCategory::Line{"unreadablePicture", "The picture cannot be read"},
    archive::ErrorCategory::Line{"unwritablePicture", "The picture cannot be written"},
    archive::ErrorCategory::Line{"missingCodec", "The library for pictures is missing"},
};
constinit const archive::ErrorCategory category("PictureError", errors);

/// No picture file is larger, and memory is finite.
constexpr std::size_t maximumFileSize = std::size_t{2} << 30U;

/// Qt reads HEIC where somebody gave it a plugin for that; ours comes first.
PictureCodec::Decoded decodeByContent(std::span<const std::byte> bytes) {
    const bool isHeic = isHeif(bytes);
    const PictureCodec *const heifCodec = isHeic ? heifPictureCodec() : nullptr;
    if (heifCodec != nullptr)
        return heifCodec->decode(bytes);
    PictureCodec::Decoded decoded = pictureCodec().decode(bytes);
    if (isHeic && !decoded.bitmap.pixels)
        decoded.error = "HEIC pictures cannot be read here, only PNG, JPEG and the like";
    return decoded;
}

} // namespace

std::error_code make_error_code(PictureError error) {
    return {static_cast<int>(error), category};
}

Picture Picture::read(const archive::URL &url) {
    const std::string path = url.path();
    const archive::FileDescriptor file(::open(path.c_str(), wholeFileFlags));
    return decode(readWholeFile(file, path, maximumFileSize), path);
}

Picture Picture::decode(std::span<const std::byte> bytes, const std::string &name) {
    if (auto fault = pictureFault(bytes))
        throw archive::Error(PictureError::unreadablePicture,
                             {.path = name, .detail = std::move(*fault)});
    PictureCodec::Decoded decoded = decodeByContent(bytes);
    if (!decoded.bitmap.pixels)
        throw archive::Error(PictureError::unreadablePicture,
                             {.path = name, .detail = std::move(decoded.error)});
    return Picture(std::move(decoded.bitmap), 1, decoded.orientation);
}

archive::Data Picture::pngData() const {
    if (!hasBitmap())
        throw archive::Error(PictureError::unwritablePicture,
                             {.detail = "A picture without a bitmap cannot be written"});
    PictureCodec::Encoded encoded = pictureCodec().encode(upright(bitmap_, orientation_));
    if (!encoded.error.empty())
        throw archive::Error(PictureError::unwritablePicture, {.detail = std::move(encoded.error)});
    return archive::Data(std::move(encoded.png));
}

} // namespace vellomir
