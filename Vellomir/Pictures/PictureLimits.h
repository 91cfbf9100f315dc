#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vellomir {

/// Larger pictures are refused before they are decoded.
inline constexpr std::int64_t maximumPixels = 256 << 20;

/// No picture file is larger, in bytes.
inline constexpr std::size_t maximumPictureFile = std::size_t{2} << 30U;

/// The most pixels that a file of this size, in bytes, may have: 16 million, which take little
/// memory, and for each byte as many as a PNG of one bit a pixel can pack into it. So the
/// memory is bounded by the file's size, also in formats that pack without limit.
[[nodiscard]] constexpr std::int64_t pixelLimit(std::size_t fileSize) {
    constexpr std::int64_t always = 16 << 20;
    constexpr std::int64_t perByte = 8256;
    const auto most = static_cast<std::size_t>((maximumPixels - always) / perByte);
    return fileSize >= most ? maximumPixels
                            : always + perByte * static_cast<std::int64_t>(fileSize);
}

/// Address space for libraries, stacks and caches, in bytes.
inline constexpr std::uint64_t memoryOfPrograms = std::uint64_t{1} << 30U;

/// Decoders hold a picture up to three times, with 8 bytes a pixel.
inline constexpr std::uint64_t memoryOfPixel = 24;

/// What one run of the picture program may take. The program is killed when it takes more.
struct HelperLimits {
    std::uint64_t memory = 0;     ///< address space, in bytes
    std::uint64_t resultSize = 0; ///< bytes that it gives back
    std::chrono::seconds processorTime{};
    std::chrono::milliseconds time{}; ///< on the clock; a busy machine takes longer
};

/// For pictures of this many pixels, from a file of this size or to one.
[[nodiscard]] constexpr HelperLimits helperLimits(std::int64_t pixels, std::uint64_t fileSize) {
    const auto count = static_cast<std::uint64_t>(pixels);
    constexpr std::int64_t pixelsPerSecond = 2'000'000;
    const std::chrono::seconds seconds(20 + pixels / pixelsPerSecond);
    return {.memory = memoryOfPrograms + count * memoryOfPixel + fileSize,
            .resultSize = count * 9 + (std::uint64_t{1} << 20U), // a PNG can be larger than pixels
            .processorTime = seconds,
            .time = 5 * seconds};
}

} // namespace vellomir
