#include "Vellomir/Pictures/PictureOrientation.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureIntegrity.h"
#include "Vellomir/Pictures/TiffDirectory.h"

#include <optional>
#include <string_view>

namespace vellomir {
namespace {

constexpr unsigned orientationTag = 274;

/// How files are divided into chunks.
struct ChunkLayout {
    PictureBytes::Order order;
    std::uint64_t start;      ///< of the first chunk
    std::uint64_t nameOffset; ///< in a chunk
    std::uint64_t sizeOffset; ///< in a chunk
    std::uint64_t behind;     ///< bytes behind the content
    std::uint64_t multiple;   ///< contents are filled up to a multiple of this
    std::string_view exif;    ///< the name of the chunk with EXIF data

    static constexpr std::uint64_t headerSize = 8;
};

constexpr ChunkLayout pngChunks{.order = PictureBytes::Order::bigEndian,
                                .start = 8,
                                .nameOffset = 4,
                                .sizeOffset = 0,
                                .behind = 4, // a checksum
                                .multiple = 1,
                                .exif = "eXIf"};
constexpr ChunkLayout webpChunks{.order = PictureBytes::Order::littleEndian,
                                 .start = 12,
                                 .nameOffset = 0,
                                 .sizeOffset = 4,
                                 .behind = 0,
                                 .multiple = 2,
                                 .exif = "EXIF"};

std::optional<PictureBytes> exifChunk(std::span<const std::byte> bytes, const ChunkLayout &layout) {
    const PictureBytes file(bytes, layout.order);
    for (std::uint64_t at = layout.start; at + ChunkLayout::headerSize <= file.size();) {
        const std::uint64_t size = file.number32(at + layout.sizeOffset);
        if (file.part(at + layout.nameOffset, 4).text() == layout.exif)
            return file.part(at + ChunkLayout::headerSize, size);
        const std::uint64_t filled = (size + layout.multiple - 1) / layout.multiple;
        at += ChunkLayout::headerSize + filled * layout.multiple + layout.behind;
    }
    return std::nullopt;
}

/// Some programs write what begins EXIF data in a JPEG.
PictureBytes withoutPrefix(const PictureBytes &exif) {
    using namespace std::string_view_literals;
    constexpr std::string_view prefix = "Exif\0\0"sv;
    return exif.text().starts_with(prefix) ? exif.from(prefix.size()) : exif;
}

} // namespace

Orientation exifOrientation(std::span<const std::byte> bytes) {
    const std::string_view format = pictureFormat(bytes);
    if (format != "png" && format != "webp")
        return Orientation::up;
    try {
        const auto exif = exifChunk(bytes, format == "png" ? pngChunks : webpChunks);
        if (!exif)
            return Orientation::up;
        const std::uint64_t value = TiffDirectory(withoutPrefix(*exif)).number(orientationTag, 1);
        return value >= 1 && value <= 8 ? static_cast<Orientation>(value) : Orientation::up;
    } catch (const PictureFault &) {
        return Orientation::up;
    }
}

} // namespace vellomir
