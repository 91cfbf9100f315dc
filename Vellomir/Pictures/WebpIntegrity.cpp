#include "Vellomir/Pictures/PictureFormats.h"

namespace vellomir {

/// Chunks: name, size of the content, content, filled up to an even size. How densely pixels can be
/// packed has no limit here: one colour takes no bits at all.
void checkWebp(const PictureBytes &file) {
    constexpr std::uint64_t frame = 8;
    if (file.part(frame, 4).text() != "WEBP")
        return; // Sound and films begin in the same way.
    const PictureBytes chunks = file.part(frame, file.number32(4)).from(4);
    for (std::uint64_t offset = 0; offset + frame <= chunks.size();) {
        const std::uint64_t size = chunks.number32(offset + 4);
        static_cast<void>(chunks.part(offset + frame, size));
        offset += frame + size + size % 2;
    }
}

} // namespace vellomir
