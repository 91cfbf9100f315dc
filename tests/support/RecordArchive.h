#pragma once

#include "archive/Records.h"

#include <concepts>
#include <optional>
#include <string>
#include <vector>

namespace vellomir::test {

/// An entry given by its two records, which may differ, and the bytes after the local header.
struct RecordEntry {
    /// A stored file, made on Unix with mode 0644, whose records agree.
    RecordEntry(const std::string &name, const std::string &content);

    archive::LocalFileHeader header;
    archive::CentralDirectoryStructure record;
    std::string data;    ///< as stored
    std::string trailer; ///< bytes after the data, such as a data descriptor
};

/// A file deflated by zlib.
[[nodiscard]] RecordEntry deflatedRecordEntry(const std::string &name, const std::string &content);

/// The bytes of a data descriptor. `Size` is std::uint32_t, or std::uint64_t for ZIP64.
template <std::unsigned_integral Size>
[[nodiscard]] std::string descriptor(archive::CRC32 checksum, Size compressed, Size uncompressed,
                                     bool isSigned = true) {
    archive::Data data;
    if (isSigned)
        data.appendValue(archive::dataDescriptorStructSignature);
    data.appendValue(checksum);
    data.appendValue(compressed);
    data.appendValue(uncompressed);
    return std::string(data.text());
}

/// Moves checksum and sizes from the local header into a descriptor, as a writer does that cannot
/// seek.
template <std::unsigned_integral Size>
[[nodiscard]] RecordEntry described(RecordEntry entry, bool isSigned = true) {
    entry.trailer = descriptor<Size>(entry.record.crc32, entry.record.compressedSize,
                                     entry.record.uncompressedSize, isSigned);
    entry.header.generalPurposeBitFlag |= archive::dataDescriptorFlag;
    entry.record.generalPurposeBitFlag |= archive::dataDescriptorFlag;
    entry.header.crc32 = entry.header.compressedSize = entry.header.uncompressedSize = 0;
    if (sizeof(Size) == 8)
        entry.header.versionNeededToExtract = entry.record.versionNeededToExtract = 45;
    return entry;
}
[[nodiscard]] inline RecordEntry narrow(const RecordEntry &entry) {
    return described<std::uint32_t>(entry);
}
[[nodiscard]] inline RecordEntry wide(const RecordEntry &entry) {
    return described<std::uint64_t>(entry);
}

/// The size of the local header, the data and the trailer in bytes.
[[nodiscard]] std::size_t localSize(const RecordEntry &entry);

/// Sets variable-length bytes and their length field.
void setTail(std::uint16_t &length, archive::Data &bytes, std::string_view content);

/// The archive of these entries. The local header offsets are filled in, except where a record
/// refers to a ZIP64 field. With `zip64`, the ZIP64 end record and its locator are written before
/// the end record, with their values unchanged.
[[nodiscard]] std::string
recordArchive(const std::vector<RecordEntry> &entries,
              const std::optional<archive::ZIP64EndOfCentralDirectory> &zip64 = std::nullopt);

} // namespace vellomir::test
