#include "Vellomir/Pictures/HelperProtocol.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureLimits.h"
#include "files/FileContent.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

namespace vellomir {
namespace {

constexpr std::size_t longestRefusal = 300;

[[noreturn]] void throwNonsense() {
    throw PictureFault("The picture cannot be decoded: the decoder gave no picture");
}

void writeRecord(int descriptor, const HelperRecord &record) {
    if (!emptyFile(descriptor))
        throw PictureFault("There is no room for the picture: " +
                           std::generic_category().message(errno));
    writeAll(descriptor, std::as_bytes(std::span(&record, 1)));
}

HelperRecord readRecord(const MappedMemory &memory) {
    HelperRecord record;
    if (memory.size < sizeof record)
        throwNonsense();
    std::memcpy(&record, memory.start.get(), sizeof record);
    if (record.start != HelperRecord::mark)
        throwNonsense();
    return record;
}

std::span<const std::byte> behindRecord(const MappedMemory &memory) {
    return memory.bytes().subspan(sizeof(HelperRecord));
}

/// Only what can be shown: the helper may have decoded something hostile.
[[noreturn]] void throwRefusal(const MappedMemory &memory) {
    std::string reason;
    for (const std::byte byte : behindRecord(memory)) {
        const auto character = std::to_integer<unsigned char>(byte);
        reason += character < ' ' ? ' ' : static_cast<char>(character);
        if (reason.size() == longestRefusal)
            break;
    }
    throw PictureFault(reason);
}

void require(const MappedMemory &memory, const HelperRecord &record, HelperRecord::Kind kind) {
    if (record.kind == HelperRecord::Kind::refusal)
        throwRefusal(memory);
    if (record.kind != kind)
        throwNonsense();
}

bool isSize(std::uint32_t width, std::uint32_t height) {
    return width > 0 && height > 0 && std::int64_t{width} <= maximumPixels / height;
}

} // namespace

void writeBitmap(int descriptor, const DecodedPicture &picture) {
    const Bitmap &bitmap = picture.bitmap;
    const auto height = static_cast<std::size_t>(bitmap.height);
    const std::size_t rowSize = static_cast<std::size_t>(bitmap.width) * bitmap.bytesPerPixel();
    writeRecord(descriptor, {.kind = HelperRecord::Kind::bitmap,
                             .width = static_cast<std::uint32_t>(bitmap.width),
                             .height = static_cast<std::uint32_t>(bitmap.height),
                             .isDeep = bitmap.isDeep ? 1U : 0U,
                             .hasAlpha = bitmap.hasAlpha ? 1U : 0U,
                             .orientation = static_cast<std::uint32_t>(picture.orientation)});
    if (bitmap.bytesPerRow == rowSize)
        return writeAll(descriptor, {bitmap.pixels.get(), rowSize * height});
    for (std::size_t row = 0; row < height; ++row)
        writeAll(descriptor, {bitmap.pixels.get() + row * bitmap.bytesPerRow, rowSize});
}

void writePng(int descriptor, std::span<const std::byte> png) {
    writeRecord(descriptor, {.kind = HelperRecord::Kind::png});
    writeAll(descriptor, png);
}

void writeRefusal(int descriptor, std::string_view reason) {
    writeRecord(descriptor, {.kind = HelperRecord::Kind::refusal});
    writeAll(descriptor, std::as_bytes(std::span(reason)));
}

DecodedPicture readBitmap(const MappedMemory &memory) {
    const HelperRecord record = readRecord(memory);
    require(memory, record, HelperRecord::Kind::bitmap);
    if (!isSize(record.width, record.height) || record.orientation < 1 || record.orientation > 8)
        throwNonsense();
    Bitmap bitmap{.width = static_cast<int>(record.width),
                  .height = static_cast<int>(record.height),
                  .isDeep = record.isDeep != 0,
                  .hasAlpha = record.hasAlpha != 0};
    bitmap.bytesPerRow = record.width * bitmap.bytesPerPixel();
    if (behindRecord(memory).size() != bitmap.bytesPerRow * record.height)
        throwNonsense();
    bitmap.pixels = {memory.start, behindRecord(memory).data()};
    return {std::move(bitmap), static_cast<Orientation>(record.orientation)};
}

std::vector<std::byte> readPng(const MappedMemory &memory) {
    require(memory, readRecord(memory), HelperRecord::Kind::png);
    const auto png = behindRecord(memory);
    return {png.begin(), png.end()};
}

} // namespace vellomir
