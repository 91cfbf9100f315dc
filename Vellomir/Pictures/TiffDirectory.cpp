#include "Vellomir/Pictures/TiffDirectory.h"

namespace vellomir {
namespace {

/// Two layouts: numbers of places and sizes have 4 bytes, or 8 in the one for large files.
struct Layout {
    unsigned place;          ///< bytes of an offset
    unsigned count;          ///< bytes of the number of entries
    std::uint64_t directory; ///< where the offset of the first directory is
};
constexpr Layout usual{4, 2, 4};
constexpr Layout large{8, 8, 8};

const Layout &layoutOf(bool isLarge) {
    return isLarge ? large : usual;
}

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

PictureBytes inItsOrder(const PictureBytes &file) {
    const bool isBigEndian = file.text().starts_with("MM");
    return PictureBytes(file.bytes(), isBigEndian ? PictureBytes::Order::bigEndian
                                                  : PictureBytes::Order::littleEndian);
}

} // namespace

TiffDirectory::TiffDirectory(const PictureBytes &file)
    : file_(inItsOrder(file)), isLarge_(file_.number16(2) == 43) {
    const Layout &layout = layoutOf(isLarge_);
    const std::uint64_t start = file_.number(layout.directory, layout.place);
    const std::uint64_t count = file_.number(start, layout.count);
    const unsigned entrySize = 4 + 2 * layout.place;
    for (std::uint64_t index = 0; index < count; ++index) {
        const PictureBytes entry = file_.part(start + layout.count + index * entrySize, entrySize);
        entries_.emplace(entry.number16(0), entry);
    }
}

/// Tag, type, how many, and the numbers themselves or their offset.
std::optional<TiffNumbers> TiffDirectory::numbers(unsigned tag) const {
    const auto found = entries_.find(tag);
    if (found == entries_.end())
        return std::nullopt;
    const PictureBytes &entry = found->second;
    const unsigned width = layoutOf(isLarge_).place; // of counts and of offsets
    const unsigned size = sizeOfType(entry.number16(2));
    const std::uint64_t count = entry.number(4, width);
    if (size == 0 || count > file_.size() / size)
        return std::nullopt;
    const std::uint64_t place = 4 + width;
    const bool isInside = count * size <= width;
    return TiffNumbers(isInside ? entry.part(place, count * size)
                                : file_.part(entry.number(place, width), count * size),
                       size);
}

std::uint64_t TiffDirectory::number(unsigned tag, std::uint64_t usualValue) const {
    const auto all = numbers(tag);
    return all && all->count() > 0 ? all->at(0) : usualValue;
}

} // namespace vellomir
