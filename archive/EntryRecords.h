#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <string>

/// The records of entries that the engine writes. All that it writes is made here.
namespace vellomir::archive {

struct NewEntry {
    std::string path; ///< UTF-8; that of a folder ends in "/"
    Entry::EntryType type = Entry::EntryType::file;
    CompressionMethod method = CompressionMethod::none;
    std::uint64_t uncompressedSize = 0;
    std::uint64_t compressedSize = 0;
    CRC32 checksum = 0;
    Date::DateTime modificationDateTime = {};
    /// The permissions, or the whole mode word.
    std::uint16_t permissions = 0;
};

/// Whether the sizes need the ZIP64 fields.
[[nodiscard]] bool needsZIP64(std::uint64_t uncompressedSize, std::uint64_t compressedSize);

/// The bytes of the header for a path of this length, in bytes, and stored data of this size.
[[nodiscard]] std::size_t localFileHeaderSize(std::size_t pathLength, std::uint64_t size);

/// Throws `invalidEntryPath` if the path is not UTF-8 or too long for the record.
[[nodiscard]] LocalFileHeader makeLocalFileHeader(const NewEntry &entry);

/// The record of the directory for an entry whose local header starts at this offset.
[[nodiscard]] CentralDirectoryStructure
makeCentralDirectoryStructure(const LocalFileHeader &localFileHeader, std::uint64_t relativeOffset,
                              std::uint32_t externalFileAttributes);

} // namespace vellomir::archive
