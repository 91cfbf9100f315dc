#include "Vellomir/PropertyLists/BinaryObjects.h"

#include "Vellomir/PropertyLists/Errors.h"

#include <string>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t trailerSize = 32;

[[noreturn]] void refuse(std::uint64_t position, const std::string &what) {
    throw unreadable("The binary property list cannot be read: byte " + std::to_string(position) +
                     ": " + what);
}

} // namespace

std::uint64_t bigEndianNumber(Bytes bytes) {
    std::uint64_t value = 0;
    for (const std::byte byte : bytes)
        value = (value << 8U) | std::to_integer<std::uint64_t>(byte);
    return value;
}

/// The fields are the last 26 of the trailer's 32 bytes: the size of an offset, the size of a
/// reference, the number of objects, the index of the top object, the position of the offset table.
BinaryObjects::BinaryObjects(Bytes bytes) : bytes_(bytes) {
    static constexpr std::size_t versionStart = 6;
    if (bytes.size() > versionStart && bytes[versionStart] != std::byte{'0'})
        refuse(versionStart, "expected a version that begins with 0");
    if (bytes.size() < binaryPropertyListMagic.size() + trailerSize)
        refuse(bytes.size(), "expected a trailer of 32 bytes, found the end");
    const std::size_t start = bytes.size() - trailerSize;
    const auto number = [&](std::size_t offset, std::size_t size) {
        return bigEndianNumber(bytes.subspan(start + offset, size));
    };
    offsetSize_ = static_cast<std::size_t>(number(6, 1));
    referenceSize_ = static_cast<std::size_t>(number(7, 1));
    topObject_ = number(16, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
        refuse(start + 6, "expected sizes from 1 to 8, found " + std::to_string(offsetSize_) +
                              " and " + std::to_string(referenceSize_));
    offsets_ = slice(number(24, 8), number(8, 8), offsetSize_);
}

BinaryObject BinaryObjects::object(std::uint64_t index) const {
    const auto place = static_cast<std::size_t>(offsets_.data() - bytes_.data());
    if (index >= count())
        refuse(place, "expected an object number below " + std::to_string(count()) + ", found " +
                          std::to_string(index));
    const std::size_t start = static_cast<std::size_t>(index) * offsetSize_;
    const std::uint64_t offset = bigEndianNumber(offsets_.subspan(start, offsetSize_));
    const auto marker = std::to_integer<unsigned>(slice(offset, 1, 1).front());
    return {index, marker >> 4U, marker & 0xFU, static_cast<std::size_t>(offset)};
}

Bytes BinaryObjects::content(const BinaryObject &object, std::size_t size) const {
    return slice(object.position + 1, size, 1);
}

Bytes BinaryObjects::elements(const BinaryObject &object, std::size_t elementSize) const {
    const std::size_t start = object.position + 1;
    if (object.size < 0xF)
        return slice(start, object.size, elementSize);
    const auto marker = std::to_integer<unsigned>(slice(start, 1, 1).front());
    if (marker < 0x10 || marker > 0x13)
        refuse(start, "expected an integer for the size");
    const std::size_t size = std::size_t{1} << (marker & 0xFU);
    return slice(start + 1 + size, bigEndianNumber(slice(start + 1, size, 1)), elementSize);
}

Bytes BinaryObjects::slice(std::uint64_t start, std::uint64_t count, std::size_t size) const {
    if (start > bytes_.size() || count > (bytes_.size() - start) / size)
        refuse(start, "expected " + std::to_string(count) + " elements of " + std::to_string(size) +
                          " bytes, found the end");
    return bytes_.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(count) * size);
}

} // namespace vellomir
