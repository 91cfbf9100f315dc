#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace vellomir {

/// A unit of an HEVC stream: a header of two bytes, and what it says.
class HevcUnit {
public:
    explicit HevcUnit(std::span<const std::byte> bytes) : bytes_(bytes) {}

    /// Whether it belongs to the picture itself and not to further layers of it.
    [[nodiscard]] bool isOfBaseLayer() const;

    /// Whether it tells the size of the pictures that follow.
    [[nodiscard]] bool isSequence() const;

    /// How many pixels a sequence says that a picture has; nothing if it cannot be read.
    [[nodiscard]] std::optional<std::int64_t> pixels() const;

    /// Whether a coded picture begins with it.
    [[nodiscard]] bool beginsPicture() const;

private:
    [[nodiscard]] unsigned type() const;

    std::span<const std::byte> bytes_;
};

} // namespace vellomir
