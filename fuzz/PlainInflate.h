#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// What the engine's inflaters and checksums are compared with.
namespace vellomir::fuzz {

/// A raw DEFLATE stream, inflated by zlib in one call, without anything of the engine.
struct PlainInflate {
    std::vector<std::byte> output; ///< up to the end, the damage or the limit
    std::size_t consumed = 0;      ///< bytes of the stream, if it is complete
    bool isComplete = false;
    bool isDamaged = false;         ///< else it is cut short, or longer than the limit
    bool hasIncompleteCode = false; ///< damaged only because some bit patterns have no meaning
};
[[nodiscard]] PlainInflate inflatePlainly(std::span<const std::byte> stream, std::size_t limit);

/// The CRC-32 of the ZIP format, bit by bit.
[[nodiscard]] std::uint32_t checksumOf(std::span<const std::byte> bytes);

} // namespace vellomir::fuzz
