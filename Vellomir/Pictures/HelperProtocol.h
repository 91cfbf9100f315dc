#pragma once

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Pictures/SharedMemory.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vellomir {

// How a program that handles pictures talks to its helper, the picture program. Both are built
// together, so numbers have the machine's own byte order.

/// The descriptors that the helper inherits. Standard input, output and error lead nowhere.
enum HelperDescriptor : int {
    helperInput = 3,  ///< a picture's file, or a bitmap record and its pixels
    helperOutput = 4, ///< empty shared memory, which gets one record and what belongs to it
    helperLife = 5,   ///< a pipe that is closed when the helper has ended; nothing is written
};

/// The first argument of the helper.
/// "decode SIDE PIXELS" reads a file and gives a bitmap. SIDE: 0, or the longer side of a bitmap
/// that is scaled down and turned upright. PIXELS: larger pictures are refused.
/// "encode" reads a bitmap and gives a PNG.
inline constexpr std::string_view decodeCommand = "decode";
inline constexpr std::string_view encodeCommand = "encode";

/// What the output, and the input of "encode", begins with.
struct HelperRecord {
    enum class Kind : std::uint32_t {
        bitmap = 1, ///< rows of pixels follow, without gaps
        png = 2,    ///< the bytes of the file follow
        refusal = 3 ///< the reason follows: one sentence without a full stop
    };
    static constexpr std::uint32_t mark = 0x31434956;

    std::uint32_t start = mark;
    Kind kind = Kind::refusal;
    std::uint32_t width = 0; ///< this and the rest only for a bitmap
    std::uint32_t height = 0;
    std::uint32_t isDeep = 0;
    std::uint32_t hasAlpha = 0;
    std::uint32_t orientation = 0; ///< as in EXIF, 1 to 8
    std::uint32_t unused = 0;      ///< so that the pixels begin at a multiple of 8 bytes
};
static_assert(sizeof(HelperRecord) == 32);

/// A bitmap with the orientation it was tagged with.
struct DecodedPicture {
    Bitmap bitmap;
    Orientation orientation = Orientation::up;
};

/// Writes a record and what belongs to it to a descriptor, from its start. They throw a
/// `PictureFault` when there is no room.
void writeBitmap(int descriptor, const DecodedPicture &picture);
void writePng(int descriptor, std::span<const std::byte> png);
void writeRefusal(int descriptor, std::string_view reason);

/// Reads them back; the bitmap keeps the memory. Every number is checked against the size of the
/// memory. They throw a `PictureFault`: the reason of a refusal, or that the bytes make no sense.
[[nodiscard]] DecodedPicture readBitmap(const MappedMemory &memory);
[[nodiscard]] std::vector<std::byte> readPng(const MappedMemory &memory);

} // namespace vellomir
