#include "Vellomir/Pictures/PictureDecoder.h"

#include "Vellomir/Pictures/HeifBrand.h"
#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureGeometry.h"
#include "Vellomir/Pictures/PictureIntegrity.h"
#include "Vellomir/Pictures/PictureReaders.h"

namespace vellomir {
namespace {

DecodedPicture readStored(std::span<const std::byte> bytes, const DecodingOptions &options,
                          const BeforePixels &beforePixels) {
#ifdef VELLOMIR_HEIF
    if (isHeif(bytes))
        return readWithHeif(bytes, options, beforePixels);
#endif
    return readWithQt(bytes, options, beforePixels);
}

} // namespace

void requirePixelCount(std::int64_t pixels, std::size_t fileSize, const DecodingOptions &options) {
    if (pixels > maximumPixels)
        throw PictureFault("The picture has more than 256 million pixels");
    if (pixels > pixelLimit(fileSize))
        throw PictureFault("The picture says that it has more pixels than its file can hold");
    if (pixels > options.mostPixels)
        throw PictureFault("The picture is larger than it may be here");
}

DecodedPicture decodePicture(std::span<const std::byte> bytes, const DecodingOptions &options,
                             const BeforePixels &beforePixels) {
    if (const auto fault = pictureFault(bytes))
        throw PictureFault(*fault);
    DecodedPicture picture = readStored(
        bytes, options, beforePixels ? beforePixels : [](std::int64_t) {});
    if (options.maximumSide == 0)
        return picture;
    return {.bitmap =
                upright(scaledToFit(picture.bitmap, options.maximumSide), picture.orientation)};
}

} // namespace vellomir
