#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vellomir {

// The layout of a binary property list, all numbers big-endian:
//
//   "bplist00" | objects | offset of each object | trailer
//
// An object is one byte, its type in the upper half and its size in the lower, and its content.
// Objects refer to each other by number.

inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

/// Where an object is.
struct BinaryObject {
    std::uint64_t index = 0;
    unsigned type = 0;        ///< the upper half of the first byte
    unsigned size = 0;        ///< the lower half
    std::size_t position = 0; ///< of the first byte in the list
};

/// The big-endian number of at most eight bytes.
[[nodiscard]] std::uint64_t bigEndianNumber(std::span<const std::byte> bytes);

/// The objects of a binary list, found by way of its trailer. What leads out of the list throws
/// `PropertyListError::unreadablePropertyList` with the byte.
class BinaryObjects {
public:
    /// The bytes must outlive this object.
    explicit BinaryObjects(std::span<const std::byte> bytes);

    [[nodiscard]] std::uint64_t topObject() const { return topObject_; }
    [[nodiscard]] std::uint64_t count() const { return offsets_.size() / offsetSize_; }
    /// Bytes that a reference to an object has.
    [[nodiscard]] std::size_t referenceSize() const { return referenceSize_; }

    [[nodiscard]] BinaryObject object(std::uint64_t index) const;

    /// So many bytes behind the object's first.
    [[nodiscard]] std::span<const std::byte> content(const BinaryObject &object,
                                                     std::size_t size) const;

    /// The elements behind the object's first byte; if there are 15 or more, behind an integer
    /// object with their number.
    [[nodiscard]] std::span<const std::byte> elements(const BinaryObject &object,
                                                      std::size_t elementSize) const;

private:
    [[nodiscard]] std::span<const std::byte> slice(std::uint64_t start, std::uint64_t count,
                                                   std::size_t size) const;

    std::span<const std::byte> bytes_;
    std::span<const std::byte> offsets_;
    std::size_t offsetSize_ = 1;
    std::size_t referenceSize_ = 1;
    std::uint64_t topObject_ = 0;
};

} // namespace vellomir
