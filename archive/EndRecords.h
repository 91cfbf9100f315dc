#pragma once

#include "archive/Archive.h"
#include "archive/StreamWriter.h"

#include <cstdint>
#include <cstdio>
#include <optional>

namespace vellomir::archive {

/// What follows the central directory: the ZIP64 records where they are needed, then the
/// plain one.
struct EndRecords {
    EndOfCentralDirectoryRecord record;
    std::optional<ZIP64EndOfCentralDirectory> zip64;

    [[nodiscard]] std::uint64_t numberOfEntries() const;
    [[nodiscard]] std::uint64_t sizeOfCentralDirectory() const;
    [[nodiscard]] std::uint64_t offsetToStartOfCentralDirectory() const;

    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;
    friend bool operator==(const EndRecords &, const EndRecords &) = default;

    /// The records of a directory that was written anew; the end records follow it directly.
    /// Offsets are from the start of the archive.
    [[nodiscard]] EndRecords with(std::uint64_t numberOfEntries,
                                  std::uint64_t sizeOfCentralDirectory,
                                  std::uint64_t startOfCentralDirectory) const;

    /// The same after one record was added to the directory or removed from it. Throws
    /// `invalidCentralDirectorySize` or `invalidCentralDirectoryEntryCount` on overflow.
    [[nodiscard]] EndRecords after(Archive::ModifyOperation operation,
                                   const CentralDirectoryStructure &centralDirectoryStructure,
                                   std::uint64_t startOfCentralDirectory) const;
};

/// Writes the end records where the writer is: directly behind the directory they describe. Throws
/// `DataError::unwritableFile`.
void writeEndOfCentralDirectory(const EndRecords &records, StreamWriter &writer);

/// The ZIP64 part of it: the record, then its locator.
void writeZIP64EOCD(const ZIP64EndOfCentralDirectory &zip64, StreamWriter &writer);

/// The records at the end of the stream, or why there are none.
struct EndRecordsScan {
    enum class Failure { none, missing, damaged };

    Failure failure = Failure::none;
    EndRecords records;
    /// Where the plain record starts, from the start of the stream.
    std::uint64_t offset = 0;

    /// Bytes by which the directory is behind the place that the records give, if the end records
    /// follow it directly; negative if it does not fit in front of them. 0 as a rule.
    [[nodiscard]] std::int64_t displacement() const;
};

/// Looks for the plain record from the end of the stream backwards, to its start if need be. The
/// first signature counts, also one inside a comment. The ZIP64 record is looked for directly
/// before its locator. Moves the stream's position; throws `DataError::unreadableFile`, and
/// `cancelledOperation` between two blocks of 256 KiB if the progress was cancelled.
[[nodiscard]] EndRecordsScan scanForEndOfCentralDirectoryRecord(std::FILE *file,
                                                                const Progress *progress = nullptr);

} // namespace vellomir::archive
