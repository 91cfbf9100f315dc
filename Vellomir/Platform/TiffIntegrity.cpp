#include "Vellomir/Platform/PictureFormats.h"

#include <algorithm>
#include <map>
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

/// Two layouts: numbers of places and sizes have 4 bytes, or 8 in the one for large files.
struct Layout {
    unsigned place;          ///< bytes of an offset
    unsigned count;          ///< bytes of the number of entries
    std::uint64_t directory; ///< where the offset of the first directory is
};
constexpr Layout usual{4, 2, 4};
constexpr Layout large{8, 8, 8};

/// The bytes of one number; 0 for types that hold none.
unsigned sizeOfType(unsigned type) {
    switch (type) {
    case 1:
        return 1;
    case 3:
        return 2;
    case 4:
        return 4;
    case 16:
        return 8;
    default:
        return 0;
    }
}

/// The numbers of one entry of the directory; they are in the file, not in memory.
class Numbers {
public:
    Numbers(PictureBytes bytes, unsigned size) : bytes_(bytes), size_(size) {}

    [[nodiscard]] std::uint64_t count() const { return bytes_.size() / size_; }
    [[nodiscard]] std::uint64_t at(std::uint64_t index) const {
        return bytes_.number(index * size_, size_);
    }

private:
    PictureBytes bytes_;
    unsigned size_;
};

/// The first directory, which describes the picture that is decoded.
class Directory {
public:
    Directory(const PictureBytes &file, const Layout &layout) : file_(file), layout_(layout) {
        const std::uint64_t start = file.number(layout.directory, layout.place);
        const std::uint64_t count = file.number(start, layout.count);
        const unsigned entrySize = 4 + 2 * layout.place;
        for (std::uint64_t index = 0; index < count; ++index)
            add(file.part(start + layout.count + index * entrySize, entrySize));
    }

    [[nodiscard]] std::optional<Numbers> numbers(unsigned tag) const {
        const auto found = entries_.find(tag);
        return found == entries_.end() ? std::nullopt : std::optional(found->second);
    }
    [[nodiscard]] std::uint64_t number(unsigned tag, std::uint64_t usualValue) const {
        const auto all = numbers(tag);
        return all && all->count() > 0 ? all->at(0) : usualValue;
    }

private:
    /// Tag, type, how many, and the numbers themselves or their offset.
    void add(const PictureBytes &entry) {
        const unsigned size = sizeOfType(entry.number16(2));
        const std::uint64_t count = entry.number(4, layout_.place);
        if (size == 0 || count > file_.size() / size)
            return;
        const std::uint64_t valuePlace = 4 + layout_.place;
        const bool isInside = count * size <= layout_.place;
        const PictureBytes bytes =
            isInside ? entry.part(valuePlace, count * size)
                     : file_.part(entry.number(valuePlace, layout_.place), count * size);
        entries_.emplace(entry.number16(0), Numbers(bytes, size));
    }

    PictureBytes file_;
    Layout layout_;
    std::map<unsigned, Numbers> entries_;
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

/// Of all strips or tiles, each of which must lie in the file.
std::uint64_t dataSize(const PictureBytes &file, const Numbers &offsets, const Numbers &sizes) {
    std::uint64_t total = 0;
    const std::uint64_t count = std::min(offsets.count(), sizes.count());
    for (std::uint64_t index = 0; index < count; ++index)
        total += file.part(offsets.at(index), sizes.at(index)).size();
    return total;
}

std::uint64_t bitsPerPixel(const Directory &directory) {
    constexpr std::uint64_t lumaAndChroma = 6; // chroma may be stored for several pixels at once
    const std::uint64_t bits =
        directory.number(bitsPerSample, 1) * directory.number(samplesPerPixel, 1);
    const bool isReduced = directory.number(photometricInterpretation, 0) == lumaAndChroma;
    return std::max<std::uint64_t>(1, isReduced ? bits / 3 : bits);
}

} // namespace

void checkTiff(const PictureBytes &file) {
    const bool isBigEndian = file.text().starts_with("MM");
    const PictureBytes tiff(file.bytes(), isBigEndian ? PictureBytes::Order::bigEndian
                                                      : PictureBytes::Order::littleEndian);
    const Directory directory(tiff, tiff.number16(2) == 43 ? large : usual);
    const bool isTiled = directory.numbers(tileOffsets).has_value();
    const auto offsets = directory.numbers(isTiled ? tileOffsets : stripOffsets);
    const auto sizes = directory.numbers(isTiled ? tileByteCounts : stripByteCounts);
    if (!offsets || !sizes)
        return; // Sizes may be left out; the decoder knows what to make of it.
    const std::uint64_t stored = dataSize(tiff, *offsets, *sizes);
    if (const auto factor = expansion(directory.number(compression, 1)))
        requirePixels(directory.number(imageWidth, 0), directory.number(imageLength, 0),
                      stored * *factor * 8 / bitsPerPixel(directory));
}

} // namespace vellomir
