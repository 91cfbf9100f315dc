#pragma once

#include "archive/Entry.h"
#include "archive/EntryIterator.h"
#include "archive/Error.h"
#include "archive/MemoryFile.h"
#include "archive/Options.h"
#include "archive/URL.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace vellomir::archive {

class DestinationFolder;
class EntryAppender;
class EntryWriter;
class PathIndex;
struct EndRecords;
struct FileAddition;

/// One open ZIP file: a sequence of entries, lookup by path, extraction, adding and removing. It
/// shares one stream and its position among all of these, so one thread at a time.
class Archive {
public:
    using EndOfCentralDirectoryRecord = archive::EndOfCentralDirectoryRecord;
    using ZIP64EndOfCentralDirectory = archive::ZIP64EndOfCentralDirectory;
    using ZIP64EndOfCentralDirectoryRecord = archive::ZIP64EndOfCentralDirectoryRecord;
    using ZIP64EndOfCentralDirectoryLocator = archive::ZIP64EndOfCentralDirectoryLocator;
    using ArchiveError = archive::ArchiveError;
    using EntryIterator = archive::EntryIterator;
    using Iterator = EntryRange::Iterator;
    using ProgressPointer = archive::ProgressPointer;
    using ExtractOptions = archive::ExtractOptions;
    using AddOptions = archive::AddOptions;
    using RemoveOptions = archive::RemoveOptions;
    using FileURL = archive::FileURL;

    enum class AccessMode : unsigned { create = 0, read = 1, update = 2 };

    /// What a modification adds to the number of entries.
    enum class ModifyOperation : int { remove = -1, add = 1 };

    /// Needed to extract (APPNOTE.TXT, section 4.4.3): a plain entry, a ZIP64 entry.
    enum class Version : std::uint16_t { v20 = 20, v45 = 45 };
    /// Nothing for a version that the engine never writes.
    [[nodiscard]] static constexpr std::optional<Version> version(std::uint16_t rawValue) {
        return rawValue == 20   ? std::optional(Version::v20)
               : rawValue == 45 ? std::optional(Version::v45)
                                : std::nullopt;
    }

    /// Closes a stream; what that reports is lost, so flush where it matters.
    struct CloseFile {
        void operator()(std::FILE *file) const { std::fclose(file); }
    };
    using FilePointer = std::unique_ptr<std::FILE, CloseFile>;

    /// What opening produces.
    struct BackingConfiguration {
        std::unique_ptr<char[]> streamBuffer; ///< the stream's, which must not outlive it
        FilePointer file;
        EndOfCentralDirectoryRecord endOfCentralDirectoryRecord;
        std::optional<ZIP64EndOfCentralDirectory> zip64EndOfCentralDirectory;
        std::shared_ptr<MemoryFile> memoryFile; ///< only for archives in memory
    };

    /// @name Opening
    /// @{

    /// Opens, or with `create` makes, the archive at a file URL. Nothing if that cannot be done,
    /// or, with `create`, if something is there already. With `update` the file is locked (flock)
    /// as long as the archive is open: what another one holds for longer than 2 seconds cannot be
    /// opened. File systems without locks work without. `preferredEncoding` decodes the paths of
    /// all entries instead of what each says of itself.
    [[nodiscard]] static std::unique_ptr<Archive>
    make(const URL &url, AccessMode accessMode,
         std::optional<TextEncoding> preferredEncoding = std::nullopt);

    /// The same over bytes in memory; with `create` the bytes are replaced by an empty archive's.
    [[nodiscard]] static std::unique_ptr<Archive>
    make(Data data, AccessMode accessMode,
         std::optional<TextEncoding> preferredEncoding = std::nullopt);

    /// Like `make`, but throws `unreadableArchive` (read, update) or `unwritableArchive` (create)
    /// with what is wrong, in words. The search for the end record may read the whole file: it
    /// throws `cancelledOperation` soon after the progress, which it never changes, was cancelled.
    [[nodiscard]] static std::unique_ptr<Archive>
    open(const URL &url, AccessMode accessMode,
         std::optional<TextEncoding> preferredEncoding = std::nullopt,
         const ProgressPointer &progress = nullptr);

    [[nodiscard]] static std::unique_ptr<Archive>
    open(Data data, AccessMode accessMode,
         std::optional<TextEncoding> preferredEncoding = std::nullopt,
         const ProgressPointer &progress = nullptr);

    /// An archive over a stream that is open already, which it owns from now on. With `create` the
    /// stream must be empty. Throws like `open`.
    [[nodiscard]] static std::unique_ptr<Archive>
    open(FilePointer stream, const URL &url, AccessMode accessMode,
         std::optional<TextEncoding> preferredEncoding = std::nullopt,
         const ProgressPointer &progress = nullptr);

    /// The same archive for another thread: over the same open file, whatever has taken its name,
    /// but with a stream and a position of its own. Throws `DataError::unreadableFile`. Null for an
    /// archive in memory, one over a stream without a file, and one not opened for reading only.
    [[nodiscard]] std::unique_ptr<Archive> openForAnotherThread() const;

    Archive(const Archive &) = delete;
    Archive &operator=(const Archive &) = delete;
    ~Archive();

    /// @}
    /// @name What it was opened with, and as what
    /// @{

    /// The file; for an archive in memory a URL of the scheme "memory".
    [[nodiscard]] const URL &url() const { return url_; }
    /// As it was opened; one made by `create` stays writable.
    [[nodiscard]] AccessMode accessMode() const { return accessMode_; }
    /// The encoding of all paths, or nothing where each entry says its own.
    [[nodiscard]] std::optional<TextEncoding> preferredEncoding() const {
        return preferredEncoding_;
    }
    /// The record at the end of the file, as of the last change.
    [[nodiscard]] const EndOfCentralDirectoryRecord &endOfCentralDirectoryRecord() const {
        return endOfCentralDirectoryRecord_;
    }
    /// The ZIP64 records before it, or nothing if the archive does without.
    [[nodiscard]] const std::optional<ZIP64EndOfCentralDirectory> &
    zip64EndOfCentralDirectory() const {
        return zip64EndOfCentralDirectory_;
    }
    /// Whether the archive lives in memory, and `data()` has its bytes.
    [[nodiscard]] bool isMemory() const { return url_.scheme() == memoryURLScheme; }
    /// The bytes of an archive in memory; nothing for a file.
    [[nodiscard]] std::optional<Data> data() const;
    /// The stream that everything is read from and written to. Every operation moves its position.
    /// Owned by the archive, and another one after entries were removed.
    [[nodiscard]] std::FILE *archiveFile() const { return archiveFile_.get(); }

    /// By the ZIP64 record where there is one, whatever the plain record says; so are the other
    /// two.
    [[nodiscard]] std::uint64_t totalNumberOfEntriesInCentralDirectory() const;
    /// Bytes.
    [[nodiscard]] std::uint64_t sizeOfCentralDirectory() const;
    /// Bytes from the start of the archive.
    [[nodiscard]] std::uint64_t offsetToStartOfCentralDirectory() const;

    /// @}
    /// @name Entries
    /// @{

    /// All entries, for range-based for. Throws `unreadableArchive` where the directory cannot be
    /// read to its end: at a damaged record and at an encrypted entry.
    [[nodiscard]] EntryRange entries() const { return {*this, EntryRange::EarlyEnd::error}; }

    /// An iterator before the first entry. It refers to this archive and moves its stream.
    [[nodiscard]] EntryIterator makeIterator() const { return EntryIterator(*this); }

    /// How many entries the directory leads to, and why not to all of them.
    struct Reach {
        std::uint64_t promised = 0; ///< entries by the end record
        std::uint64_t reached = 0;  ///< entries that a walk returns; at most `promised`
        /// Why the walk ended; `complete` if all promised entries were reached.
        EntryIterator::End end = EntryIterator::End::complete;
        /// Records in the directory after the promised ones; looked for after a complete walk.
        std::uint64_t uncounted = 0;
        /// Bytes from where the end record places the directory to where it starts if the end
        /// records follow it directly. Above 0: there are other bytes in front of the archive.
        /// Below 0: bytes are missing. 0 as a rule.
        std::int64_t displacement = 0;

        /// Whether a walk returns every entry that the directory holds.
        [[nodiscard]] bool isComplete() const {
            return end == EntryIterator::End::complete && uncounted == 0;
        }
        friend bool operator==(const Reach &, const Reach &) = default;
    };
    /// Walks the whole directory, calls `visit` with each entry on this thread, and returns how far
    /// the walk came. Throws what `EntryIterator::next` and `visit` throw, and `cancelledOperation`
    /// before the next record if the progress, which it never changes, was cancelled.
    [[nodiscard]] Reach reach(const std::function<void(const Entry &)> &visit = nullptr,
                              const ProgressPointer &progress = nullptr) const;

    /// The entries that can be read: the loop ends early without an error, where `entries()`
    /// throws.
    [[nodiscard]] Iterator begin() const {
        return EntryRange(*this, EntryRange::EarlyEnd::quiet).begin();
    }
    /// What an iterator without an entry equals.
    [[nodiscard]] static std::default_sentinel_t end() { return EntryRange::end(); }

    /// The first entry, in the directory's order, with exactly this path. Walks the directory up to
    /// it; `PathIndex` does that once for many paths.
    [[nodiscard]] std::optional<Entry> operator[](std::string_view path) const;

    /// The entry's path as this archive decodes it: `entry.pathAsRead()` of its own entries.
    [[nodiscard]] std::string path(const Entry &entry) const {
        return entry.path(preferredEncoding_);
    }

    /// @}
    /// @name Extraction
    /// `extractChecked` compares the CRC-32 of the data with the entry's checksum. `extract`
    /// returns it, 0 when skipped, and leaves the comparison to the caller. Progress counts plain
    /// bytes.
    ///
    /// All of them throw `invalidBufferSize`, `invalidCompressionMethod`,
    /// `invalidLocalHeaderDataOffset`, `invalidEntrySize`, `cancelledOperation`,
    /// `DataError::unreadableFile` and `CompressionError`, and what the consumer throws.
    /// @{

    /// Hands the data to the consumer in chunks, as `extract` does. Throws `invalidCRC32` behind
    /// the last chunk if the data is damaged: the consumer has got all of it by then.
    void extractChecked(const Entry &entry, const Consumer &consumer,
                        const ExtractOptions &options = {}) const;

    /// Makes a file, a folder or a link at the URL, as `extract` does, but only if its data is
    /// whole: a file is written in a hidden folder beside its destination, and gets its name when
    /// its checksum is right. After any failure, `invalidCRC32` included, there is nothing at the
    /// URL but what was there before, and perhaps missing parent folders.
    void extractChecked(const Entry &entry, const URL &to,
                        const ExtractOptions &options = {}) const;

    /// Hands the data to the consumer in chunks, on this thread; a directory is one empty chunk, a
    /// link one chunk with its target, whatever its length. Stored data that ends with the archive
    /// is delivered as far as it goes; deflated data then throws `corruptedData`.
    [[nodiscard]] CRC32 extract(const Entry &entry, const Consumer &consumer,
                                const ExtractOptions &options = {}) const;

    /// Makes a file, a folder or a link at the URL, and its missing parent folders. Nothing is
    /// overwritten, and nothing is written through a link at the URL itself; an existing folder is
    /// welcome. What is written before a failure stays. Throws a `FileError` with the path, too.
    [[nodiscard]] CRC32 extract(const Entry &entry, const URL &to,
                                const ExtractOptions &options = {}) const;

    /// Units of progress: 1 for a directory, the plain bytes otherwise. Throws `invalidEntrySize`
    /// if they are more than a file can have.
    [[nodiscard]] static std::int64_t totalUnitCountForReading(const Entry &entry);
    /// A progress of so many units, to be given to `extract`.
    [[nodiscard]] static ProgressPointer makeProgressForReading(const Entry &entry);

    /// @}
    /// @name Adding
    /// Each addition is complete, rolled back (cancelled: the entries are as before) or, after
    /// another error, left as far as it was written, in which case the archive may not open again.
    ///
    /// The directory is checked before the first change: the end record's count and size must agree
    /// with the records. If they don't, nothing is changed, and `invalidCentralDirectoryOffset`,
    /// `invalidCentralDirectorySize` or `invalidCentralDirectoryEntryCount` is thrown;
    /// `unreadableArchive` if another program has changed the archive since it was opened.
    ///
    /// They also throw `unwritableArchive` for an archive opened for reading or while a
    /// `BatchAddition` to it is not finished, `invalidEntryPath`
    /// (not UTF-8, or above 65,535 bytes), `invalidBufferSize`, `invalidEntrySize`,
    /// `cancelledOperation`, `DataError::unwritableFile` and `CompressionError`.
    /// @{

    /// Adds the item at `relativeTo` + path.
    void addEntry(const std::string &with, const URL &relativeTo, const AddOptions &options = {});

    /// Adds the item at the URL: its kind, size, date and permissions are read from the disk. A
    /// folder is added without its content, a link with its target's text. Throws
    /// `fileReadNoSuchFile`, `fileReadNoPermission` or `fileNoSuchFile` with the path, too.
    void addEntry(const std::string &with, const FileURL &fileURL, const AddOptions &options = {});

    /// Adds what the provider yields, asked on this thread. Without permissions the defaults of the
    /// type are written. What the provider throws passes through.
    ///
    /// If the provider returns more bytes than it was asked for, the surplus is ignored: the same
    /// for stored and deflated files and for links.
    void addEntry(const std::string &with, Entry::EntryType type, std::int64_t uncompressedSize,
                  Date modificationDate, std::optional<std::uint16_t> permissions,
                  const Provider &provider, const AddOptions &options = {});

    /// Adds many items, and writes the directory once: linear in the number of entries, where a
    /// loop of `addEntry` is quadratic. `BatchAddition` explains what an error leaves behind, and
    /// takes entries one by one. Include it for `FileAddition`.
    void addEntries(std::span<const FileAddition> additions, const AddOptions &options = {});

    /// The older forms, with sizes of 32 bits.
    template <std::same_as<std::uint32_t> Size>
    void addEntry(const std::string &with, const URL &relativeTo,
                  CompressionMethod compressionMethod, Size bufferSize,
                  const ProgressPointer &progress = nullptr) {
        addEntry(with, relativeTo, AddOptions{compressionMethod, bufferSize, progress});
    }
    template <std::same_as<std::uint32_t> Size>
    void addEntry(const std::string &with, const FileURL &fileURL,
                  CompressionMethod compressionMethod, Size bufferSize,
                  const ProgressPointer &progress = nullptr) {
        addEntry(with, fileURL, AddOptions{compressionMethod, bufferSize, progress});
    }
    template <std::same_as<std::uint32_t> Size>
    void addEntry(const std::string &with, Entry::EntryType type, Size uncompressedSize,
                  Date modificationDate, std::optional<std::uint16_t> permissions,
                  CompressionMethod compressionMethod, Size bufferSize,
                  const ProgressPointer &progress, const Provider &provider) {
        addEntry(with, type, std::int64_t{uncompressedSize}, modificationDate, permissions,
                 provider, AddOptions{compressionMethod, bufferSize, progress});
    }

    /// Units of progress for adding the item on disk: 1 for a folder, its bytes otherwise, −1 if
    /// they cannot be read.
    [[nodiscard]] static std::int64_t totalUnitCountForAddingItem(const URL &at);
    /// A progress of so many units, to be given to `addEntry`.
    [[nodiscard]] static ProgressPointer makeProgressForAddingItem(const URL &at);

    /// @}
    /// @name Removing
    /// @{

    /// Rebuilds the archive without the entry, in a temporary one that then takes its place in one
    /// step: a file keeps its permissions and owner, a link to it stays a link. After any failure,
    /// a cancellation included, the archive and this object are as they were. Entries and iterators
    /// from before are of the old archive.
    ///
    /// Throws `unwritableArchive` for an archive opened for reading or where no temporary one can
    /// be made, `unreadableArchive` if it holds entries that cannot be reached and would be lost,
    /// or if the file was changed or replaced by another program, the errors of a directory that
    /// disagrees with its end record (see Adding), `invalidEntryPath` if it does not hold this
    /// entry, and what reading and writing throw.
    void remove(const Entry &entry, const RemoveOptions &options = {});
    /// The same for several entries at once: all of them go, or none.
    void remove(std::span<const Entry> entries, const RemoveOptions &options = {});

    /// The bytes that are copied when the entry is removed.
    [[nodiscard]] std::int64_t totalUnitCountForRemoving(const Entry &entry) const {
        return totalUnitCountForRemoving(std::span(&entry, 1));
    }
    /// A progress of so many units, to be given to `remove`.
    [[nodiscard]] ProgressPointer makeProgressForRemoving(const Entry &entry) const;

    /// @}

private:
    friend class EntryAppender;
    friend EntryIterator;
    friend class EntryWriter;
    friend class PathIndex;

    Archive(URL url, AccessMode accessMode, std::optional<TextEncoding> preferredEncoding,
            BackingConfiguration configuration);

    static BackingConfiguration makeBackingConfiguration(const URL &url, AccessMode mode,
                                                         const ProgressPointer &progress = nullptr);
    static BackingConfiguration makeBackingConfiguration(Data data, AccessMode mode,
                                                         const ProgressPointer &progress = nullptr);
    static BackingConfiguration makeBackingConfiguration(FilePointer stream, AccessMode mode,
                                                         const ProgressPointer &progress = nullptr);
    /// For errors; "" in memory.
    [[nodiscard]] std::string filePath() const;
    [[nodiscard]] EndRecords endRecords() const;
    void setEndRecords(EndRecords records);
    [[nodiscard]] Data readDirectory();
    [[nodiscard]] Data readCheckedDirectory();
    [[nodiscard]] bool truncate(std::uint64_t size);

    struct Replacement;
    [[nodiscard]] EndRecords copyAllBut(std::span<const Entry> removed, Archive &target,
                                        const RemoveOptions &options) const;
    [[nodiscard]] std::int64_t totalUnitCountForRemoving(std::span<const Entry> entries) const;
    [[nodiscard]] Replacement makeTemp() const;
    void replaceCurrent(Archive &with);

    void seekTo(std::uint64_t dataOffset) const;
    [[nodiscard]] Data readBytes(std::size_t size) const;
    CRC32 readUncompressed(const Entry &entry, const Consumer &consumer,
                           const ExtractOptions &options) const;
    CRC32 readCompressed(const Entry &entry, const Consumer &consumer,
                         const ExtractOptions &options) const;
    CRC32 readSymbolicLink(const Entry &entry, const Consumer &consumer,
                           const ExtractOptions &options) const;
    [[nodiscard]] CRC32 extract(const Entry &entry, const std::string &name,
                                DestinationFolder &folder, const ExtractOptions &options) const;
    void requireChecksum(const Entry &entry, CRC32 found) const;
    void extractCheckedFile(const Entry &entry, const URL &to, const ExtractOptions &options) const;

    URL url_;
    AccessMode accessMode_;
    std::optional<TextEncoding> preferredEncoding_;
    std::unique_ptr<char[]> streamBuffer_;
    std::shared_ptr<MemoryFile> memoryFile_;
    FilePointer archiveFile_;
    EndOfCentralDirectoryRecord endOfCentralDirectoryRecord_;
    std::optional<ZIP64EndOfCentralDirectory> zip64EndOfCentralDirectory_;
    /// Whether every record of the directory has been looked at since the last failure.
    bool isDirectoryChecked_ = false;
    /// Whether a batch of additions has not been finished yet.
    bool hasOpenBatch_ = false;
    /// Of the directory, by this object.
    std::uint64_t changeCount_ = 0;
};

} // namespace vellomir::archive
