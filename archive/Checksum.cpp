#include "archive/Data.h"

#include <algorithm>
#include <array>
#include <limits>

#include <zlib.h>

namespace vellomir::archive {
namespace {

/// The reflected polynomial of ISO 3309.
constexpr CRC32 polynomial = 0xEDB88320;

constexpr CRC32 tableEntry(CRC32 value) {
    for (int bit = 0; bit < 8; ++bit)
        value = (value >> 1U) ^ ((value & 1U) != 0 ? polynomial : 0U);
    return value;
}

constexpr std::array<CRC32, 256> table = [] {
    std::array<CRC32, 256> entries{};
    for (CRC32 index = 0; index < entries.size(); ++index)
        entries[index] = tableEntry(index);
    return entries;
}();
static_assert(table[1] == 0x77073096 && table[2] == 0xEE0E612C);

} // namespace

CRC32 Data::crc32(std::span<const std::byte> bytes, CRC32 checksum) {
    // zlib counts in 32 bits, and takes a null pointer as the wish for a new checksum.
    while (!bytes.empty()) {
        const auto slice =
            bytes.first(std::min<std::size_t>(bytes.size(), std::numeric_limits<uInt>::max()));
        checksum =
            static_cast<CRC32>(::crc32(checksum, reinterpret_cast<const Bytef *>(slice.data()),
                                       static_cast<uInt>(slice.size())));
        bytes = bytes.subspan(slice.size());
    }
    return checksum;
}

CRC32 Data::builtInCRC32(std::span<const std::byte> bytes, CRC32 checksum) {
    CRC32 value = ~checksum;
    for (const std::byte byte : bytes)
        value = (value >> 8U) ^ table[(value ^ std::to_integer<CRC32>(byte)) & 0xFFU];
    return ~value;
}

} // namespace vellomir::archive
