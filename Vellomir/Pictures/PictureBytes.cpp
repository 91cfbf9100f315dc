#include "Vellomir/Pictures/PictureBytes.h"

#include <string>

namespace vellomir {

void throwCutShort() {
    throw PictureFault("The picture is damaged or cut short");
}

void requirePixels(std::uint64_t width, std::uint64_t height, std::uint64_t most) {
    const bool isTooLarge = height != 0 && width > most / height;
    if (isTooLarge)
        throw PictureFault("The picture is damaged or cut short: it says that it has " +
                           std::to_string(width) + " × " + std::to_string(height) +
                           " pixels, and its file cannot hold so many");
}

PictureBytes PictureBytes::part(std::uint64_t offset, std::uint64_t size) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset)
        throwCutShort();
    return PictureBytes(
        bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size)), order_);
}

PictureBytes PictureBytes::from(std::uint64_t offset) const {
    if (offset > bytes_.size())
        throwCutShort();
    return part(offset, bytes_.size() - offset);
}

std::uint64_t PictureBytes::number(std::uint64_t offset, unsigned size) const {
    const std::span<const std::byte> digits = part(offset, size).bytes_;
    std::uint64_t value = 0;
    for (unsigned index = 0; index < size; ++index) {
        const unsigned place = order_ == Order::bigEndian ? index : size - 1 - index;
        value = (value << 8U) | std::to_integer<std::uint64_t>(digits[place]);
    }
    return value;
}

} // namespace vellomir
