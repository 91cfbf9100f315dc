#include "Vellomir/Pictures/PictureFormats.h"
#include "Vellomir/Pictures/PictureLimits.h"

#include <algorithm>

namespace vellomir {
namespace {

constexpr std::uint64_t screenSize = 13;
constexpr std::uint64_t frameSize = 10; ///< with the byte that introduces it
constexpr unsigned extension = 0x21;
constexpr unsigned frameMarker = 0x2C;

std::uint64_t colorTableSize(unsigned flags) {
    return (flags & 0x80U) != 0 ? std::uint64_t{3} << ((flags & 7U) + 1U) : 0;
}

/// Blocks of up to 255 bytes, up to an empty one. Returns the offset behind them and adds the bytes
/// that they hold.
std::uint64_t behindBlocks(const PictureBytes &file, std::uint64_t offset, std::uint64_t &total) {
    while (const unsigned size = file.number8(offset)) {
        total += size;
        offset += 1 + std::uint64_t{size};
    }
    return offset + 1;
}

/// LZW: a code has at least 3 bits, and decodes to at most one pixel more than the longest so far.
std::uint64_t mostPixels(std::uint64_t dataSize) {
    constexpr std::uint64_t longestCode = 4097;
    const std::uint64_t codes = dataSize * 8 / 3 + 1;
    return codes * std::min(codes, longestCode);
}

/// The screen that holds the picture takes memory, too, and no bytes of the file. Decoders
/// enlarge it to where the picture ends.
void requireScreen(const PictureBytes &file, const PictureBytes &frame) {
    const unsigned right = frame.number16(1) + frame.number16(5);
    const unsigned bottom = frame.number16(3) + frame.number16(7);
    const auto limit = pixelLimit(static_cast<std::size_t>(file.size()));
    requirePixels(std::max(file.number16(6), right), std::max(file.number16(8), bottom),
                  static_cast<std::uint64_t>(limit));
}

} // namespace

void checkGif(const PictureBytes &file) {
    std::uint64_t offset = screenSize + colorTableSize(file.number8(10));
    std::uint64_t ignored = 0;
    while (file.number8(offset) == extension)
        offset = behindBlocks(file, offset + 2, ignored);
    if (file.number8(offset) != frameMarker)
        throwCutShort();
    const PictureBytes first = file.part(offset, frameSize);
    offset += frameSize + colorTableSize(first.number8(9)) + 1;
    std::uint64_t dataSize = 0;
    static_cast<void>(behindBlocks(file, offset, dataSize));
    requirePixels(first.number16(5), first.number16(7), mostPixels(dataSize));
    requireScreen(file, first);
}

} // namespace vellomir
