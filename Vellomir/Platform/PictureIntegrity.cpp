#include "Vellomir/Platform/PictureIntegrity.h"

#include "archive/Data.h"

#include <algorithm>
#include <string_view>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

std::string_view text(Bytes bytes) {
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

std::size_t bigEndian(Bytes bytes) {
    std::size_t value = 0;
    for (const std::byte byte : bytes)
        value = (value << 8U) | std::to_integer<std::size_t>(byte);
    return value;
}

bool isLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

/// Every chunk: size of the content, name, content, CRC-32 of both. A name that begins with a small
/// letter belongs to a chunk that decoders can do without.
bool isWholePng(Bytes bytes) {
    constexpr std::size_t frame = 12;
    while (bytes.size() >= frame) {
        const std::size_t size = bigEndian(bytes.first(4));
        if (size > bytes.size() - frame)
            return false;
        const Bytes named = bytes.subspan(4, size + 4);
        const std::string_view name = text(named.first(4));
        if (!std::all_of(name.begin(), name.end(), isLetter))
            return false;
        const bool isNeeded = name.front() <= 'Z';
        if (isNeeded && archive::Data::crc32(named, 0) != bigEndian(bytes.subspan(size + 8, 4)))
            return false;
        if (name == "IEND")
            return true;
        bytes = bytes.subspan(size + frame);
    }
    return false;
}

/// The segments up to the first scan say how long they are; behind that, the marker of the end
/// can't stand in the data.
bool isWholeJpeg(Bytes bytes) {
    constexpr std::byte startOfScan{0xDA};
    while (bytes.size() >= 4 && bytes[1] != startOfScan) {
        const std::size_t size = 2 + bigEndian(bytes.subspan(2, 2));
        bytes = bytes.subspan(std::min(size, bytes.size()));
    }
    return text(bytes).find("\xFF\xD9") != std::string_view::npos;
}

} // namespace

bool isDamagedPicture(Bytes bytes) {
    static constexpr std::string_view png = "\x89PNG\r\n\x1A\n";
    static constexpr std::string_view jpeg = "\xFF\xD8";
    if (text(bytes).starts_with(png))
        return !isWholePng(bytes.subspan(png.size()));
    return text(bytes).starts_with(jpeg) && !isWholeJpeg(bytes.subspan(jpeg.size()));
}

} // namespace vellomir
