#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vellomir::archive {

/// Between archives and folders: whole trees in and out, and the questions about single items that
/// both need. No state; every operation is synchronous and may run on any thread. Errors are
/// `archive::Error` with the path.
class FileManager {
public:
    using ProgressPointer = std::shared_ptr<Progress>;

    /// Unpacks an archive into a folder, which is made when missing. Folders first, then files,
    /// then links; nothing is overwritten, and nothing lands outside the folder: not by "..", not
    /// by an absolute name, not through a link. Folders get their modes and dates at the end, also
    /// after an error.
    ///
    /// Throws `FileError::fileReadNoSuchFile` (no such archive), `ArchiveError::unreadableArchive`,
    /// `FileError::fileReadInvalidFileName` (an entry that leaves the folder),
    /// `ArchiveError::invalidCRC32` (after the damaged item has been written), and what extraction
    /// throws. What was written until then stays.
    void unzipItem(const URL &at, const URL &to, bool skipCRC32 = false,
                   const ProgressPointer &progress = nullptr,
                   std::optional<TextEncoding> preferredEncoding = std::nullopt) const;

    /// How to unpack.
    struct UnzipOptions {
        bool skipCRC32 = false;
        ProgressPointer progress = nullptr;
        std::optional<TextEncoding> preferredEncoding = std::nullopt;
        /// Whether the sizes in the archive's directory are limits: the room for all of them is
        /// asked for before anything is written (`fileWriteOutOfSpace`), and an entry that is
        /// longer than its size is stopped there (`invalidEntrySize`).
        bool holdsToDirectory = false;
        /// How many threads write files, the caller's one included; 0 for one a core, at most 8.
        /// The result is that of one thread: after a failure, the error is that of the first entry
        /// that failed in the archive's order, and nothing of the files behind it stays. Where the
        /// system makes no more threads, there are fewer.
        unsigned jobs = 1;
    };
    /// The same with these options.
    void unzipItem(const URL &at, const URL &to, const UnzipOptions &options) const;

    /// Packs a file, or a folder with everything below it, into a new archive. The paths of a
    /// folder start with its name if `shouldKeepParent`, else below it.
    ///
    /// Throws `FileError::fileReadNoSuchFile`, `FileError::fileWriteFileExists`,
    /// `ArchiveError::unwritableArchive`, and what adding throws; a partly written archive stays.
    void zipItem(const URL &at, const URL &to, bool shouldKeepParent,
                 CompressionMethod compressionMethod = CompressionMethod::none,
                 const ProgressPointer &progress = nullptr) const;

    /// How to pack.
    struct ZipOptions {
        bool shouldKeepParent = false;
        CompressionMethod compressionMethod = CompressionMethod::none;
        ProgressPointer progress = nullptr;
        /// How many threads read, compress and write the files of a folder, the caller's one
        /// included; 0 for one a core, at most 8. Stored files take four at most. The archive has
        /// the same bytes as with one thread. On a full disk, the error may name another item.
        /// Where the system makes no more threads, there are fewer.
        unsigned jobs = 1;
    };
    /// The same with these options.
    void zipItem(const URL &at, const URL &to, const ZipOptions &options) const;

    /// Links are not followed: a dangling one exists.
    [[nodiscard]] bool itemExists(const URL &at) const;
    /// Links are not followed. What is neither a folder nor a link counts as a file. Throws
    /// `fileReadNoSuchFile`.
    [[nodiscard]] Entry::EntryType typeForItem(const URL &at) const;
    /// Makes the missing folders above the item. Throws a `FileError` with the path of the lowest.
    void createParentDirectoryStructure(const URL &url) const;

    /// What extraction applies to the item of an entry.
    [[nodiscard]] static FileAttributes attributes(const Entry &entry);
    /// The permission bits of an entry, or the type's defaults if it has none or its host writes
    /// none.
    [[nodiscard]] static std::uint16_t permissions(std::uint32_t externalFileAttributes,
                                                   Entry::OSType osType,
                                                   Entry::EntryType entryType);
    /// The field of a directory's record: the POSIX mode word in its upper half.
    [[nodiscard]] static std::uint32_t externalFileAttributesForEntry(Entry::EntryType type,
                                                                      std::uint16_t permissions);

    /// The whole mode word, type included; 0 if there is no such item.
    [[nodiscard]] std::uint16_t permissionsForItem(const URL &at) const;
    /// Links are not followed. Throws `fileReadNoSuchFile`.
    [[nodiscard]] Date fileModificationDateTimeForItem(const URL &at) const;
    /// Bytes; of a link, the length of its text. Throws `fileReadNoSuchFile` and
    /// `fileReadTooLarge`.
    [[nodiscard]] std::int64_t fileSizeForItem(const URL &at) const;

    /// Units of progress for adding the item: 1 for a folder, its bytes otherwise, −1 if they
    /// cannot be read.
    [[nodiscard]] std::int64_t totalUnitCountForAddingItem(const URL &at) const;
    /// A progress of so many units.
    [[nodiscard]] ProgressPointer makeProgressForAddingItem(const URL &at) const;
};

} // namespace vellomir::archive
