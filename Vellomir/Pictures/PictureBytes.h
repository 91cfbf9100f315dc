#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string_view>

namespace vellomir {

/// What is wrong with the file of a picture, in one sentence without a full stop.
class PictureFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The file ends before the picture does, or is damaged.
[[noreturn]] void throwCutShort();

/// Throws a `PictureFault` if a picture of this size has more pixels than `most`.
void requirePixels(std::uint64_t width, std::uint64_t height, std::uint64_t most);

/// The bytes of a picture's file. Reading behind their end throws a `PictureFault`. It owns
/// nothing.
class PictureBytes {
public:
    enum class Order { littleEndian, bigEndian };

    explicit PictureBytes(std::span<const std::byte> bytes, Order order = Order::littleEndian)
        : bytes_(bytes), order_(order) {}

    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }
    /// Part of them, in the same order.
    [[nodiscard]] PictureBytes part(std::uint64_t offset, std::uint64_t size) const;
    /// From the offset to the end.
    [[nodiscard]] PictureBytes from(std::uint64_t offset) const;
    [[nodiscard]] std::span<const std::byte> bytes() const { return bytes_; }
    [[nodiscard]] std::string_view text() const {
        return {reinterpret_cast<const char *>(bytes_.data()), bytes_.size()};
    }

    /// A number of one to eight bytes.
    [[nodiscard]] std::uint64_t number(std::uint64_t offset, unsigned size) const;
    [[nodiscard]] unsigned number8(std::uint64_t offset) const {
        return static_cast<unsigned>(number(offset, 1));
    }
    [[nodiscard]] unsigned number16(std::uint64_t offset) const {
        return static_cast<unsigned>(number(offset, 2));
    }
    [[nodiscard]] std::uint32_t number32(std::uint64_t offset) const {
        return static_cast<std::uint32_t>(number(offset, 4));
    }

private:
    std::span<const std::byte> bytes_;
    Order order_;
};

} // namespace vellomir
