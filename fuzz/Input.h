#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace vellomir::fuzz {

/// Takes an input apart from its front. At its end come zeros and empty parts.
class Input {
public:
    Input(const std::uint8_t *data, std::size_t size) : rest_(data, size) {}

    /// The next byte, as a number below `count`.
    std::size_t choice(std::size_t count) { return byte() % count; }
    std::uint8_t byte() {
        if (rest_.empty())
            return 0;
        const std::uint8_t value = rest_.front();
        rest_ = rest_.subspan(1);
        return value;
    }
    bool flag() { return (byte() & 1U) != 0; }
    /// Two bytes.
    std::size_t number() {
        const std::size_t low = byte();
        return low | (std::size_t{byte()} << 8U);
    }
    /// The next bytes; fewer at the end.
    std::span<const std::byte> bytes(std::size_t size) {
        const auto part = rest_.first(std::min(size, rest_.size()));
        rest_ = rest_.subspan(part.size());
        return std::as_bytes(part);
    }
    /// A length in one byte, then so many bytes.
    std::string text() {
        const auto part = bytes(byte());
        return {reinterpret_cast<const char *>(part.data()), part.size()};
    }
    std::span<const std::byte> rest() { return bytes(rest_.size()); }
    [[nodiscard]] bool isAtEnd() const { return rest_.empty(); }

private:
    std::span<const std::uint8_t> rest_;
};

} // namespace vellomir::fuzz
