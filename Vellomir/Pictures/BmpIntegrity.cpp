#include "Vellomir/Pictures/PictureFormats.h"

#include <algorithm>
#include <cstdlib>

namespace vellomir {
namespace {

constexpr std::uint64_t fileHeaderSize = 14;
constexpr std::uint32_t oldHeaderSize = 12;

enum class Compression : std::uint32_t {
    none = 0,
    runs8 = 1,
    runs4 = 2,
    fields = 3,
    alphaFields = 6
};

/// What the header of a bitmap says, in a file of its own or in an icon.
struct BitmapHeader {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t bits = 0; ///< a pixel
    Compression compression = Compression::none;

    static BitmapHeader read(const PictureBytes &header);
};

/// Negative where rows are stored from top to bottom.
std::uint64_t magnitude(std::uint32_t number) {
    return static_cast<std::uint64_t>(std::llabs(static_cast<std::int32_t>(number)));
}

BitmapHeader BitmapHeader::read(const PictureBytes &header) {
    if (header.number32(0) == oldHeaderSize)
        return {header.number16(4), header.number16(6), header.number16(10), Compression::none};
    return {magnitude(header.number32(4)), magnitude(header.number32(8)), header.number16(14),
            static_cast<Compression>(header.number32(16))};
}

/// Rows are filled up to 4 bytes.
void requireRows(const BitmapHeader &bitmap, std::uint64_t dataSize) {
    const std::uint64_t rowSize = (bitmap.width * bitmap.bits + 31) / 32 * 4;
    if (rowSize != 0)
        requirePixels(bitmap.width, bitmap.height, dataSize / rowSize * bitmap.width);
}

/// Two bytes make at most 255 pixels. Rows can also be skipped, which only small pictures may.
void requireRuns(const BitmapHeader &bitmap, std::uint64_t dataSize) {
    constexpr std::uint64_t small = 1U << 20U;
    requirePixels(bitmap.width, bitmap.height, std::max(small, dataSize * 255 / 2));
}

/// Bytes of pixels that follow an escape code one by one.
std::uint64_t literalSize(std::uint64_t pixels, Compression compression) {
    return compression == Compression::runs8 ? pixels : (pixels + 1) / 2;
}

/// Walks over the runs up to the code for the end, or to the last pixel: some writers leave the
/// code out. Each code is a count and a value, or 0 and an escape.
void requireEndOfRuns(const BitmapHeader &bitmap, const PictureBytes &data) {
    enum Escape : unsigned { endOfRow = 0, end = 1, move = 2 };
    std::uint64_t x = 0;
    std::uint64_t y = 0;
    for (std::uint64_t offset = 0; y < bitmap.height;) {
        const unsigned count = data.number8(offset);
        const unsigned value = data.number8(offset + 1);
        offset += 2;
        if (count != 0) {
            x += count;
        } else if (value == endOfRow) {
            x = 0;
            ++y;
        } else if (value == end) {
            return;
        } else if (value == move) {
            x += data.number8(offset);
            y += data.number8(offset + 1);
            offset += 2;
        } else {
            const std::uint64_t size = literalSize(value, bitmap.compression);
            static_cast<void>(data.part(offset, size));
            x += value;
            offset += size + size % 2;
        }
        if (x >= bitmap.width && y + 1 >= bitmap.height)
            return;
    }
}

void requireData(const BitmapHeader &bitmap, const PictureBytes &data) {
    switch (bitmap.compression) {
    case Compression::none:
    case Compression::fields:
    case Compression::alphaFields:
        return requireRows(bitmap, data.size());
    case Compression::runs8:
    case Compression::runs4:
        requireRuns(bitmap, data.size());
        return requireEndOfRuns(bitmap, data);
    }
}

} // namespace

void checkBmp(const PictureBytes &file) {
    const PictureBytes header = file.from(fileHeaderSize);
    const std::uint64_t dataStart =
        std::max<std::uint64_t>(file.number32(10), fileHeaderSize + header.number32(0));
    requireData(BitmapHeader::read(header), file.from(dataStart));
}

void checkIco(const PictureBytes &file) {
    const PictureBytes picture = file.from(file.number32(18)); // of the first entry
    if (picture.text().starts_with("\x89PNG"))
        return checkPng(picture);
    BitmapHeader bitmap = BitmapHeader::read(picture);
    bitmap.height /= 2; // A mask of the same size follows.
    requireData(bitmap, picture.from(picture.number32(0)));
}

} // namespace vellomir
