#include "Vellomir/Pictures/PictureFormats.h"

#include "archive/Data.h"

#include <algorithm>

namespace vellomir {
namespace {

constexpr std::uint64_t signatureSize = 8;
/// DEFLATE makes at most 258 bytes of two bits.
constexpr std::uint64_t greatestExpansion = 1032;

bool isLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

unsigned channels(unsigned colorType) {
    switch (colorType) {
    case 2:
        return 3;
    case 4:
        return 2;
    case 6:
        return 4;
    default:
        return 1;
    }
}

/// One chunk: size of the content, name, content, CRC-32 of both. A name that begins with a small
/// letter belongs to a chunk that decoders can do without.
struct Chunk {
    std::string_view name;
    PictureBytes content;
    static constexpr std::uint64_t frame = 12;

    static Chunk at(const PictureBytes &file, std::uint64_t offset) {
        const std::uint64_t size = file.number32(offset);
        const PictureBytes named = file.part(offset + 4, size + 4);
        const std::string_view name = named.text().substr(0, 4);
        if (!std::all_of(name.begin(), name.end(), isLetter))
            throwCutShort();
        const bool isNeeded = name.front() <= 'Z';
        const std::uint32_t checksum = file.number32(offset + 8 + size);
        if (isNeeded && archive::Data::crc32(named.bytes(), 0) != checksum)
            throwCutShort();
        return {name, named.from(4)};
    }
};

} // namespace

void checkPng(const PictureBytes &file) {
    const PictureBytes png(file.bytes(), PictureBytes::Order::bigEndian);
    const Chunk header = Chunk::at(png, signatureSize);
    if (header.name != "IHDR")
        throwCutShort();
    const std::uint64_t bitsPerPixel =
        std::uint64_t{header.content.number8(8)} * channels(header.content.number8(9));
    std::uint64_t dataSize = 0;
    for (std::uint64_t offset = signatureSize;;) {
        const Chunk chunk = Chunk::at(png, offset);
        if (chunk.name == "IDAT")
            dataSize += chunk.content.size();
        if (chunk.name == "IEND")
            break;
        offset += chunk.content.size() + Chunk::frame;
    }
    if (bitsPerPixel > 0)
        requirePixels(header.content.number32(0), header.content.number32(4),
                      dataSize * greatestExpansion * 8 / bitsPerPixel);
}

} // namespace vellomir
