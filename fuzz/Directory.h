#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// A second reader of an archive's directory, for the fuzzers to compare the engine with. It works
/// on the bytes with offsets written out by hand and shares no code with the engine.
namespace vellomir::fuzz {

using Bytes = std::span<const std::byte>;

/// The little-endian number of `width` bytes at the offset; nothing if it is not there.
[[nodiscard]] std::optional<std::uint64_t> number(Bytes bytes, std::uint64_t offset,
                                                  unsigned width);
/// The same where the caller knows that it is there; ends the run if it is not.
[[nodiscard]] std::uint64_t numberAt(Bytes bytes, std::uint64_t offset, unsigned width);
/// A part of the bytes; nothing if it is not there as a whole.
[[nodiscard]] std::optional<Bytes> part(Bytes bytes, std::uint64_t offset, std::uint64_t size);

/// The values of a ZIP64 field, 0 where they are missing.
struct LargeValues {
    std::uint64_t uncompressedSize = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t offset = 0;
    std::uint32_t disk = 0;
};
/// The first ZIP64 field of the extra fields; nothing if there is none or if its length is not that
/// of the expected values.
[[nodiscard]] std::optional<LargeValues> largeValues(Bytes extra, bool hasUncompressedSize,
                                                     bool hasCompressedSize, bool hasOffset,
                                                     bool hasDisk);

/// One record of the directory, with what its local header and its descriptor add.
struct Member {
    Bytes record;      ///< the whole record
    Bytes name;        ///< as it is stored
    Bytes localHeader; ///< with its name and its extra fields
    bool isZIP64 = false;
    std::uint64_t headerOffset = 0;
    std::uint64_t dataOffset = 0;
    std::uint64_t storedSize = 0;       ///< of the compressed data, by the directory
    std::uint64_t plainSize = 0;        ///< of the plain data, by the directory
    std::uint64_t compressedSize = 0;   ///< by the descriptor where there is one
    std::uint64_t uncompressedSize = 0; ///< the same
    std::uint32_t checksum = 0;         ///< the same
    std::uint64_t localSize = 0;        ///< header, data and descriptor
    unsigned localMethod = 0;           ///< by the local header
};

struct Directory {
    enum class End { complete, damagedRecord, damagedLocalHeader, encryptedEntry };

    std::uint64_t count = 0;
    std::uint64_t size = 0;
    std::uint64_t offset = 0;
    std::vector<Member> members; ///< as far as they can be read
    End end = End::complete;     ///< why there are no more
};

/// Nothing if the bytes have no end record, or one that is cut short. Reads `limit` records at
/// most.
[[nodiscard]] std::optional<Directory> readDirectory(Bytes archive, std::size_t limit);

} // namespace vellomir::fuzz
