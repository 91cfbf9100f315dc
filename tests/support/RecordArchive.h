#pragma once

#include "archive/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace test {

/// An entry as its two records, which need not agree, and the bytes behind the local header.
struct RecordEntry {
    /// A stored file, made on Unix with mode 0644, whose records agree.
    RecordEntry(const std::string &name, const std::string &content);

    archive::LocalFileHeader header;
    archive::CentralDirectoryStructure record;
    std::string data;    ///< as it is stored
    std::string trailer; ///< behind the data, such as a data descriptor
};

/// A file whose data is deflated, by zlib.
[[nodiscard]] RecordEntry deflatedRecordEntry(const std::string &name, const std::string &content);

/// The bytes that the entry takes in front of the directory.
[[nodiscard]] std::size_t localSize(const RecordEntry &entry);

/// Sets a length and the bytes that it counts.
void setTail(std::uint16_t &length, archive::Data &bytes, std::string_view content);

/// The archive of these entries. The offsets of the local headers are filled in, except where the
/// record leaves them to a ZIP64 field. With `zip64`, that record and its locator stand before the
/// end record; their values are kept as they are.
[[nodiscard]] std::string
recordArchive(const std::vector<RecordEntry> &entries,
              const std::optional<archive::ZIP64EndOfCentralDirectory> &zip64 = std::nullopt);

} // namespace test
