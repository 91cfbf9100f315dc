#include "Vellomir/Pictures/PictureFormats.h"
#include "Vellomir/Pictures/TiffDirectory.h"

#include <algorithm>
#include <optional>

namespace vellomir {
namespace {

enum Tag : unsigned {
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    compression = 259,
    photometricInterpretation = 262,
    stripOffsets = 273,
    samplesPerPixel = 277,
    stripByteCounts = 279,
    tileOffsets = 324,
    tileByteCounts = 325,
};

/// How many bytes one byte can become; nothing where there is no small limit.
std::optional<std::uint64_t> expansion(std::uint64_t method) {
    constexpr std::uint64_t packBits = 32773;
    constexpr std::uint64_t oldDeflate = 32946;
    switch (method) {
    case 1:
        return 1;
    case 5:
        return 4096; // LZW
    case 8:
    case oldDeflate:
        return 1032;
    case packBits:
        return 64;
    default:
        return std::nullopt;
    }
}

/// Of all strips or tiles, each of which must be in the file.
std::uint64_t dataSize(const PictureBytes &file, const TiffNumbers &offsets,
                       const TiffNumbers &sizes) {
    std::uint64_t total = 0;
    const std::uint64_t count = std::min(offsets.count(), sizes.count());
    for (std::uint64_t index = 0; index < count; ++index)
        total += file.part(offsets.at(index), sizes.at(index)).size();
    return total;
}

std::uint64_t bitsPerPixel(const TiffDirectory &directory) {
    constexpr std::uint64_t lumaAndChroma = 6; // chroma may be stored for several pixels at once
    const std::uint64_t bits =
        directory.number(bitsPerSample, 1) * directory.number(samplesPerPixel, 1);
    const bool isReduced = directory.number(photometricInterpretation, 0) == lumaAndChroma;
    return std::max<std::uint64_t>(1, isReduced ? bits / 3 : bits);
}

} // namespace

void checkTiff(const PictureBytes &file) {
    const TiffDirectory directory(file);
    const bool isTiled = directory.numbers(tileOffsets).has_value();
    const auto offsets = directory.numbers(isTiled ? tileOffsets : stripOffsets);
    const auto sizes = directory.numbers(isTiled ? tileByteCounts : stripByteCounts);
    if (!offsets || !sizes)
        return; // Sizes may be left out; the decoder knows what to make of it.
    const std::uint64_t stored = dataSize(file, *offsets, *sizes);
    if (const auto factor = expansion(directory.number(compression, 1)))
        requirePixels(directory.number(imageWidth, 0), directory.number(imageLength, 0),
                      stored * *factor * 8 / bitsPerPixel(directory));
}

} // namespace vellomir
