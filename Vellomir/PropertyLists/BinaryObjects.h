#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace vellomir {

// The layout of a binary property list, with big-endian numbers:
//
//   "bplist00" | objects | offset of each object | trailer
//
// The first byte of an object has its type in the upper half and its size in the lower half; the
// content follows. Objects refer to each other by index.

inline constexpr std::string_view binaryPropertyListMagic = "bplist00";

/// Where an object is.
struct BinaryObject {
    std::uint64_t index = 0;
    unsigned type = 0;        ///< the upper half of the first byte
    unsigned size = 0;        ///< the lower half
    std::size_t position = 0; ///< offset of the first byte in the list
};

/// Decodes a big-endian number of at most eight bytes.
[[nodiscard]] std::uint64_t bigEndianNumber(std::span<const std::byte> bytes);

/// Finds the objects of a binary list through its trailer. Positions and references outside the
/// list throw `PropertyListError::unreadablePropertyList` with the byte's offset.
class BinaryObjects {
public:
    /// The bytes must outlive this object.
    explicit BinaryObjects(std::span<const std::byte> bytes);

    [[nodiscard]] std::uint64_t topObject() const { return topObject_; }
    [[nodiscard]] std::uint64_t count() const { return offsets_.size() / offsetSize_; }
    /// The size of a reference in bytes.
    [[nodiscard]] std::size_t referenceSize() const { return referenceSize_; }

    [[nodiscard]] BinaryObject object(std::uint64_t index) const;

    /// `size` bytes that follow the object's first byte.
    [[nodiscard]] std::span<const std::byte> content(const BinaryObject &object,
                                                     std::size_t size) const;

    /// The elements that follow the object's first byte. A count of 15 or more is stored as an
    /// integer object before them.
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
