#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace vellomir::archive {

/// The `compressionMethod` field of the records (APPNOTE.TXT, section 4.4.5).
enum class CompressionMethod : std::uint16_t { none = 0, deflate = 8 };

/// Nothing for a method that the engine does not know.
[[nodiscard]] constexpr std::optional<CompressionMethod>
makeCompressionMethod(std::uint16_t rawValue) {
    switch (rawValue) {
    case 0:
        return CompressionMethod::none;
    case 8:
        return CompressionMethod::deflate;
    default:
        return std::nullopt;
    }
}

/// Takes the count of bytes delivered so far and a size, returns the next bytes of the source: as
/// many as asked for, fewer only at the end. A size of 0 asks whether that was all. What it returns
/// must stay valid until its next call. May throw.
///
/// Bytes beyond the size are ignored, alike for stored data, deflated data and links: they reach no
/// consumer, no archive and no checksum, and the next call gets the position behind the size.
using Provider = std::function<std::span<const std::byte>(std::int64_t position, std::size_t size)>;

/// What the provider returns, without the bytes beyond `size`. Every call of a provider goes
/// through here.
[[nodiscard]] inline std::span<const std::byte>
providedBytes(const Provider &provider, std::int64_t position, std::size_t size) {
    const auto bytes = provider(position, size);
    return bytes.size() > size ? bytes.first(size) : bytes;
}

/// Takes a chunk, which is valid only during the call. May throw.
using Consumer = std::function<void(std::span<const std::byte> chunk)>;

} // namespace vellomir::archive
