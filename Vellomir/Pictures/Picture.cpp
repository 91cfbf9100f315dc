#include "Vellomir/Pictures/Picture.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureHelper.h"
#include "files/ErrorCategory.h"
#include "files/FileContent.h"

#include <array>

namespace vellomir {
namespace {

constexpr std::array errors = {
    ErrorCategory::Line{"unreadablePicture", "The picture cannot be read"},
    ErrorCategory::Line{"unwritablePicture", "The picture cannot be written"},
    ErrorCategory::Line{"missingCodec", "The program for pictures is missing"},
};
constinit const ErrorCategory category("PictureError", errors);

/// Calls the function; a fault of the picture becomes an error with its path.
template <typename Decode>
Picture decoded(const std::string &name, const Decode &decode) {
    try {
        DecodedPicture picture = decode();
        return Picture(std::move(picture.bitmap), 1, picture.orientation);
    } catch (const PictureFault &fault) {
        throw Error(PictureError::unreadablePicture, {.path = name, .detail = fault.what()});
    }
}

} // namespace

std::error_code make_error_code(PictureError error) {
    return {static_cast<int>(error), category};
}

Picture Picture::read(const archive::URL &url, const DecodingOptions &options,
                      const Cancellation &isCancelled) {
    const std::string path = url.path();
    const FileDescriptor file = openFile(path, Access::read);
    const std::uint64_t size = regularFileSize(file, path);
    if (size > maximumPictureFile)
        throw Error(FileError::fileReadTooLarge, {.path = path});
    return decoded(
        path, [&] { return PictureHelper::find().decode(file.get(), size, options, isCancelled); });
}

Picture Picture::decode(std::span<const std::byte> bytes, const std::string &name,
                        const DecodingOptions &options) {
    return decoded(name, [&] {
        const FileDescriptor file = makeSharedMemory();
        writeAll(file.get(), bytes);
        seal(file.get());
        return PictureHelper::find().decode(file.get(), bytes.size(), options);
    });
}

archive::Data Picture::pngData(const Cancellation &isCancelled) const {
    if (!hasBitmap())
        throw Error(PictureError::unwritablePicture,
                    {.detail = "A picture without a bitmap cannot be written"});
    try {
        return archive::Data(PictureHelper::find().encode({bitmap_, orientation_}, isCancelled));
    } catch (const PictureFault &fault) {
        throw Error(PictureError::unwritablePicture, {.detail = fault.what()});
    }
}

} // namespace vellomir
