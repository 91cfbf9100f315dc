// Pictures: what the picture program decodes keeps to the limits of pixels and memory and is the
// same behind the shared memory; a file that is called faulty is refused; what can be read comes
// back from the PNG that an icon is. Input: the picture's bytes.

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureDecoder.h"
#include "Vellomir/Pictures/PictureGeometry.h"
#include "Vellomir/Pictures/PictureIntegrity.h"
#include "Vellomir/Pictures/PictureLimits.h"
#include "Vellomir/Pictures/SharedMemory.h"
#include "fuzz/Memory.h"
#include "fuzz/PlainInflate.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <QBuffer>
#include <QImageReader>
#include <QSize>

namespace vellomir::archive {

using fuzz::require;

namespace {

using Bytes = std::span<const std::byte>;

/// A picture, or why there is none.
struct PictureOutcome {
    std::optional<Picture> picture;
    std::string reason;
};

template <class Decode>
PictureOutcome outcome(const Decode &decode) {
    try {
        const DecodedPicture picture = decode();
        return {Picture(picture.bitmap, 1, picture.orientation), {}};
    } catch (const PictureFault &fault) {
        require(std::strlen(fault.what()) > 0, "a picture that cannot be read has a reason");
        return {std::nullopt, fault.what()};
    }
}

PictureOutcome decoded(Bytes bytes) {
    return outcome([bytes] { return decodePicture(bytes); });
}

/// The same picture after its way through the memory that both programs share.
PictureOutcome handedOver(const Picture &picture) {
    const FileDescriptor memory = makeSharedMemory();
    writeBitmap(memory.get(), {picture.bitmap(), picture.orientation()});
    return outcome([&memory] { return readBitmap(mapWhole(memory.get())); });
}

/// Pixels that the file claims to have; 0 if it does not say.
std::int64_t claimedPixels(Bytes bytes) {
    QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes.data()),
                                                 static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&content);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    return size.isValid() ? std::int64_t{size.width()} * size.height() : 0;
}

std::int64_t pixelsOf(const Bitmap &bitmap) {
    return std::int64_t{bitmap.width} * bitmap.height;
}

void requireSound(const Bitmap &bitmap, std::size_t fileSize) {
    require(bitmap.width > 0 && bitmap.height > 0, "a picture has pixels");
    require(pixelsOf(bitmap) <= pixelLimit(fileSize),
            "a picture has no more pixels than its file may claim");
    require(bitmap.bytesPerRow >= static_cast<std::size_t>(bitmap.width) * bitmap.bytesPerPixel(),
            "a row has room for its pixels");
}

/// One pixel without the fourth channel where that says nothing.
bool isSamePixel(const std::byte *left, const std::byte *right, std::size_t size, bool hasAlpha) {
    return std::memcmp(left, right, hasAlpha ? size : size / 4 * 3) == 0;
}

bool haveSamePixels(const Bitmap &left, const Bitmap &right) {
    if (left.width != right.width || left.height != right.height || left.isDeep != right.isDeep ||
        left.hasAlpha != right.hasAlpha)
        return false;
    const std::size_t size = left.bytesPerPixel();
    for (int y = 0; y < left.height; ++y)
        for (int x = 0; x < left.width; ++x) {
            const auto row = static_cast<std::size_t>(y);
            const std::size_t place = static_cast<std::size_t>(x) * size;
            if (!isSamePixel(left.pixels.get() + row * left.bytesPerRow + place,
                             right.pixels.get() + row * right.bytesPerRow + place, size,
                             left.hasAlpha))
                return false;
        }
    return true;
}

void requireSame(const PictureOutcome &one, const PictureOutcome &other, const char *promise) {
    require(one.picture.has_value() == other.picture.has_value() && one.reason == other.reason,
            promise);
    require(!one.picture || (haveSamePixels(one.picture->bitmap(), other.picture->bitmap()) &&
                             one.picture->orientation() == other.picture->orientation()),
            promise);
}

/// A file that is cut is refused or, where what is missing did not belong to the picture, the same.
/// Damaged HEVC data has other pixels now and then, so a difference counts only if it is there
/// again.
void requireCutIsNoticed(Bytes bytes, const PictureOutcome &whole) {
    if (!whole.picture || bytes.size() < 2)
        return;
    const std::size_t anywhere = fuzz::checksumOf(bytes) % bytes.size();
    for (const std::size_t size : {anywhere, bytes.size() - 1}) {
        const auto isNoticed = [&] {
            const PictureOutcome cut = decoded(bytes.first(size));
            return !cut.picture || haveSamePixels(cut.picture->bitmap(), whole.picture->bitmap());
        };
        require(isNoticed() || isNoticed() || isNoticed(),
                "a picture that is cut short is refused");
    }
}

/// The icon is the picture, upright.
void requireIcon(const Picture &picture) {
    const Bitmap upright = vellomir::upright(picture.bitmap(), picture.orientation());
    const bool isTurned = picture.orientation() >= Orientation::leftMirrored;
    require(upright.width == (isTurned ? picture.bitmap().height : picture.bitmap().width) &&
                pixelsOf(upright) == pixelsOf(picture.bitmap()),
            "turning keeps the size");
    const std::vector<std::byte> png = encodePicture(upright);
    require(!pictureFault(png), "an icon has no fault");
    const PictureOutcome again = decoded(png);
    require(again.picture && again.picture->orientation() == Orientation::up &&
                haveSamePixels(again.picture->bitmap(), upright),
            "an icon has the pixels of its picture");
    const Picture square = cropImageToSquare(picture);
    const int side = std::min(upright.width, upright.height);
    const PictureOutcome squareIcon =
        decoded(encodePicture(vellomir::upright(square.bitmap(), square.orientation())));
    require(squareIcon.picture && squareIcon.picture->bitmap().width == side &&
                squareIcon.picture->bitmap().height == side,
            "a square icon has the picture's shorter side");
}

/// Decoding has its own limits; with them, no file takes more.
void requireMemory(std::size_t peak, std::size_t fileSize, const PictureOutcome &whole) {
    constexpr std::int64_t always = 64 << 20;
    constexpr std::int64_t perPixel = 32;
    const std::int64_t pixels =
        whole.picture ? pixelsOf(whole.picture->bitmap()) : pixelLimit(fileSize);
    require(static_cast<std::int64_t>(peak) <= always + perPixel * pixels,
            "decoding takes memory by the number of pixels");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::int64_t manyPixels = 1 << 18;
    const Bytes bytes = std::as_bytes(std::span(data, size));
    const auto fault = pictureFault(bytes);
    const std::int64_t claimed = fault ? 0 : claimedPixels(bytes);
    // Large pictures take a second each: some are enough.
    if (claimed > manyPixels && claimed <= pixelLimit(size) && size % 64 != 0)
        return 0;
    fuzz::PeakMemory memory;
    const PictureOutcome whole = decoded(bytes);
    requireMemory(memory.peak(), size, whole);
    require(!fault || whole.reason == *fault, "a file with a fault is refused for it");
    require(!whole.picture || claimed <= pixelLimit(size),
            "what claims too many pixels is refused");
    if (!whole.picture)
        return 0;
    requireSound(whole.picture->bitmap(), size);
    requireSame(whole, handedOver(*whole.picture), "the shared memory keeps the picture");
    if (pixelsOf(whole.picture->bitmap()) > manyPixels)
        return 0;
    requireCutIsNoticed(bytes, whole);
    requireIcon(*whole.picture);
    return 0;
}

} // namespace vellomir::archive
