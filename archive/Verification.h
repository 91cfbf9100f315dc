#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>

/// Looks for everything that is wrong in an archive.
namespace vellomir::archive {

/// What is wrong, with the meaning of `Finding::expected` and `Finding::found` in brackets. Sizes
/// and offsets are bytes; "the directory" is the central directory.
enum class FindingKind {
    /// The end records, before the first entry.
    /// @{
    directoryIsDisplaced,    ///< is behind its place [offset by the end record, real offset]
    directoryDoesNotFit,     ///< is too large for its place [offset by the end record, none]
    endRecordCountsDiffer,   ///< one end record, two counts [entries in all, on this disk]
    endRecordsCountsDiffer,  ///< plain and ZIP64 record [ZIP64 count, plain count]
    endRecordsSizesDiffer,   ///< plain and ZIP64 record [ZIP64 size, plain size]
    endRecordsOffsetsDiffer, ///< plain and ZIP64 record [ZIP64 offset, plain offset]
    /// @}
    /// The whole directory, after the last entry.
    /// @{
    directoryEndsEarly,    ///< a record is damaged or missing [promised records, good ones]
    entryIsNotInDirectory, ///< a local header that no record names [none, its offset]
    directorySizeDiffers,  ///< [size by the end record, size of the records]
    /// @}
    /// An entry's local header, compared with its record in the directory.
    /// @{
    localHeaderIsMissing,         ///< [its offset by the directory, none]
    localNameDiffers,             ///< [name in the directory, here], raw bytes
    localVersionDiffers,          ///< [version needed in the directory, here]
    localFlagsDiffer,             ///< [flag word in the directory, here]
    localMethodDiffers,           ///< [compression method in the directory, here]
    localDateDiffers,             ///< [date in the directory, here]
    localChecksumDiffers,         ///< [CRC-32 in the directory, here]
    localCompressedSizeDiffers,   ///< [compressed size in the directory, here]
    localUncompressedSizeDiffers, ///< [uncompressed size in the directory, here]
    /// @}
    /// An entry's data descriptor, compared with its record in the directory.
    /// @{
    descriptorIsMissing,               ///< [none, none]
    descriptorChecksumDiffers,         ///< [CRC-32 in the directory, here]
    descriptorCompressedSizeDiffers,   ///< [compressed size in the directory, here]
    descriptorUncompressedSizeDiffers, ///< [uncompressed size in the directory, here]
    /// @}
    /// The bytes of an entry.
    /// @{
    entryReachesIntoDirectory, ///< [offset of the directory, end of the entry]
    entryOverlapsAnother,      ///< [none, offset of the entry]
    dataIsEncrypted,           ///< so the data is not checked [none, none]
    dataLiesBeyondAnyFile,     ///< its offset or size fits no file [none, offset of the data]
    dataIsCutShort,            ///< the archive ends in it [compressed size, bytes that are there]
    dataIsUnreadable,          ///< damaged, or the system cannot read it [none, the error's text]
    methodIsUnsupported,       ///< [none, compression method]
    dataIsTooLong,             ///< unpacks to more than promised, stopped there [size, none]
    dataIsFollowedByBytes,     ///< the compressed data ends early [compressed size, used bytes]
    dataSizeDiffers,           ///< [uncompressed size by the directory, size of the data]
    dataChecksumDiffers,       ///< [CRC-32 by the directory, CRC-32 of the data]
    /// @}
    /// An entry's path, by itself and with the paths before it, and its type.
    /// @{
    pathIsNotText,         ///< not valid in its encoding [none, none]
    pathHoldsZeroByte,     ///< [none, none]
    pathLeadsOut,          ///< of the folder that it is unpacked into [none, none]
    pathIsNoFileName,      ///< nothing is left without "." and "/" [none, none]
    pathHoldsLongName,     ///< one of its names is too long for a file [most bytes, none]
    pathLeadsThroughEntry, ///< through an earlier entry, which is no folder [none, none]
    pathIsTaken,           ///< by an earlier entry [none, none]
    pathIsFolder,          ///< an earlier entry makes a folder of it [none, none]
    folderHoldsData,       ///< [0, uncompressed size]
    linkIsCompressed,      ///< [0, compression method]
    linkHasNoTarget,       ///< [none, none]
    linkTargetIsTooLong,   ///< [most bytes, size of the target]
    linkTargetIsNotText,   ///< not UTF-8, or with a zero byte [none, none]
    /// @}
};

/// The entry that a finding is about.
struct FoundEntry {
    std::uint64_t index = 0; ///< of its record in the directory, from 0
    std::string path;        ///< as the archive decodes it; "" if `name` is not valid text
    std::string name;        ///< the raw bytes of its name in the directory

    friend bool operator==(const FoundEntry &, const FoundEntry &) = default;
};

/// A value in an archive: nothing, a number, a date, or bytes of text.
using FindingValue = std::variant<std::monostate, std::uint64_t, Date, std::string>;

/// One thing that is wrong in an archive.
struct Finding {
    FindingKind kind = FindingKind::directoryIsDisplaced;
    std::optional<FoundEntry> entry; ///< nothing for the archive as a whole
    FindingValue expected = {};
    FindingValue found = {};

    friend bool operator==(const Finding &, const Finding &) = default;
};

/// Gets the findings one by one. What it throws ends the verification.
using FindingConsumer = std::function<void(const Finding &)>;

/// Verifies every entry of the archive, including those after the one at which a walk ends: its
/// records, the place it takes, its path beside those of the entries before it, and its data. The
/// data is read to its end by strict inflation, but no more is unpacked than the directory
/// promises. Findings come in the directory's order, on this thread; those of the end records come
/// first, those of the whole directory last. Returns the number of records looked at.
///
/// Memory grows with the paths of the entries, not with their sizes. Moves the archive's stream.
/// The progress counts stored bytes; its total is the size of the archive.
///
/// Throws `cancelledOperation` between two chunks and two entries if the progress was cancelled,
/// `unreadableArchive` if the archive is no longer as it was opened, `DataError::unreadableFile` if
/// its records cannot be read, and what the consumer throws.
std::uint64_t verify(const Archive &archive, const FindingConsumer &report,
                     const Archive::ProgressPointer &progress = nullptr);

} // namespace vellomir::archive
