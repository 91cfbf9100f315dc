#pragma once

#include "archive/Entry.h"
#include "archive/Error.h"
#include "archive/MemoryFile.h"
#include "archive/Progress.h"
#include "archive/URL.h"

#include <cstdio>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace vellomir::archive {

class ArchiveUnpacker;
class DestinationFolder;
class DirectoryWindow;
class EntryAppender;
struct EndRecords;

/// One open ZIP file: a sequence of entries, lookup by path, extraction, adding and removing. It
/// shares one stream and its position among all of these, so one thread at a time.
class Archive {
public:
    using EndOfCentralDirectoryRecord = archive::EndOfCentralDirectoryRecord;
    using ZIP64EndOfCentralDirectory = archive::ZIP64EndOfCentralDirectory;
    using ZIP64EndOfCentralDirectoryRecord = archive::ZIP64EndOfCentralDirectoryRecord;
    using ZIP64EndOfCentralDirectoryLocator = archive::ZIP64EndOfCentralDirectoryLocator;
    using ProgressPointer = std::shared_ptr<Progress>;

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

    enum class ArchiveError {
        unreadableArchive = 1,
        unwritableArchive,
        invalidEntryPath,
        invalidCompressionMethod,
        invalidCRC32,
        cancelledOperation,
        invalidBufferSize,
        invalidEntrySize,
        invalidLocalHeaderDataOffset,
        invalidLocalHeaderSize,
        invalidCentralDirectoryOffset,
        invalidCentralDirectorySize,
        invalidCentralDirectoryEntryCount,
        missingEndOfCentralDirectoryRecord,
    };

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

    /// Walks the central directory. It ends early, without an error, at a damaged record and at an
    /// encrypted entry; `end()` returns the reason. Valid until the archive changes or is
    /// destroyed.
    class EntryIterator {
    public:
        enum class End { notYet, complete, damagedRecord, damagedLocalHeader, encryptedEntry };

        /// Nothing at the end, from then on. Throws `DataError::unreadableFile` if the file cannot
        /// be read: that is no damage, and another archive would only look shorter.
        [[nodiscard]] std::optional<Entry> next();
        /// Why nothing follows; `notYet` until `next` has returned nothing.
        [[nodiscard]] End end() const { return end_; }
        /// Records read so far, the encrypted one included.
        [[nodiscard]] std::uint64_t index() const { return index_; }

        /// What is left behind may only be assigned to.
        EntryIterator(EntryIterator &&) noexcept;
        EntryIterator &operator=(EntryIterator &&) noexcept;
        ~EntryIterator();

    private:
        friend class Archive;
        friend class ArchiveUnpacker;
        explicit EntryIterator(const Archive &archive);
        /// Goes on with the record at this position, which was `position_` before a `next`.
        void goTo(std::uint64_t position);
        std::optional<CentralDirectoryStructure> readDirectoryRecord();
        std::optional<Entry> stop(End end);

        const Archive *archive_;
        std::unique_ptr<DirectoryWindow> window_;
        std::uint64_t position_;
        std::uint64_t count_;
        std::uint64_t index_ = 0;
        End end_ = End::notYet;
    };
    /// An iterator before the first entry. It refers to this archive and moves its stream.
    [[nodiscard]] EntryIterator makeIterator() const;

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

    /// For range-based for. Ends and throws like `EntryIterator`, but has no `end()` with the
    /// reason.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry *;
        using reference = const Entry &;

        [[nodiscard]] const Entry &operator*() const { return *entry_; }
        [[nodiscard]] const Entry *operator->() const { return &*entry_; }
        Iterator &operator++();
        void operator++(int) { ++*this; }
        friend bool operator==(const Iterator &iterator, std::default_sentinel_t /*end*/) {
            return !iterator.entry_;
        }

    private:
        friend class Archive;
        explicit Iterator(EntryIterator entries);

        EntryIterator entries_;
        std::optional<Entry> entry_;
    };
    /// At the first entry, which has been read; another `begin` starts again.
    [[nodiscard]] Iterator begin() const;
    /// What an iterator without an entry equals.
    [[nodiscard]] static std::default_sentinel_t end() { return std::default_sentinel; }

    /// The first entry, in the directory's order, with exactly this path.
    [[nodiscard]] std::optional<Entry> operator[](std::string_view path) const;

    /// The entry's path as this archive decodes it.
    [[nodiscard]] std::string path(const Entry &entry) const {
        return entry.path(preferredEncoding_);
    }

    /// @}
    /// @name Extraction
    /// All of these return the CRC-32 of the data, 0 when skipped, and leave it to the caller to
    /// compare it with the entry's checksum. Progress counts plain bytes.
    ///
    /// They throw `invalidBufferSize`, `invalidCompressionMethod`, `invalidLocalHeaderDataOffset`,
    /// `invalidEntrySize`, `cancelledOperation`, `DataError::unreadableFile` and
    /// `CompressionError`, and what the consumer throws.
    /// @{

    /// How to extract.
    struct ExtractOptions {
        std::int64_t bufferSize = defaultReadChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
        bool skipCRC32 = false;
        ProgressPointer progress = nullptr;
        /// No more bytes than these are delivered; `invalidEntrySize` if the entry has more.
        std::optional<std::uint64_t> sizeLimit = std::nullopt;
    };

    /// Hands the data to the consumer in chunks, on this thread; a directory is one empty chunk, a
    /// link one chunk with its target, whatever its length. Stored data that ends with the archive
    /// is delivered as far as it goes; deflated data then throws `corruptedData`.
    CRC32 extract(const Entry &entry, const Consumer &consumer,
                  const ExtractOptions &options) const;
    CRC32 extract(const Entry &entry, const Consumer &consumer) const {
        return extract(entry, consumer, ExtractOptions{});
    }

    /// Makes a file, a folder or a link at the URL, and its missing parent folders. Nothing is
    /// overwritten, and nothing is written through a link at the URL itself; an existing folder is
    /// welcome. What is written before a failure stays. Throws a `FileError` with the path, too.
    CRC32 extract(const Entry &entry, const URL &to, const ExtractOptions &options) const;
    CRC32 extract(const Entry &entry, const URL &to) const {
        return extract(entry, to, ExtractOptions{});
    }

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
    /// They also throw `unwritableArchive` for an archive opened for reading, `invalidEntryPath`
    /// (not UTF-8, or above 65,535 bytes), `invalidBufferSize`, `invalidEntrySize`,
    /// `cancelledOperation`, `DataError::unwritableFile` and `CompressionError`.
    /// @{

    /// How to add.
    struct AddOptions {
        CompressionMethod compressionMethod = CompressionMethod::none; ///< for files only
        std::int64_t bufferSize = defaultWriteChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
        ProgressPointer progress = nullptr;
    };

    /// The item on disk that an entry is made of.
    struct FileURL {
        URL url;
    };

    /// Adds the item at `relativeTo` + path.
    void addEntry(const std::string &with, const URL &relativeTo, const AddOptions &options);
    void addEntry(const std::string &with, const URL &relativeTo) {
        addEntry(with, relativeTo, AddOptions{});
    }

    /// Adds the item at the URL: its kind, size, date and permissions are read from the disk. A
    /// folder is added without its content, a link with its target's text. Throws
    /// `fileReadNoSuchFile`, `fileReadNoPermission` or `fileNoSuchFile` with the path, too.
    void addEntry(const std::string &with, const FileURL &fileURL, const AddOptions &options);
    void addEntry(const std::string &with, const FileURL &fileURL) {
        addEntry(with, fileURL, AddOptions{});
    }

    /// Adds what the provider yields, asked on this thread. Without permissions the defaults of the
    /// type are written. What the provider throws passes through.
    ///
    /// If the provider returns more bytes than it was asked for, the surplus is ignored: the same
    /// for stored and deflated files and for links.
    void addEntry(const std::string &with, Entry::EntryType type, std::int64_t uncompressedSize,
                  Date modificationDate, std::optional<std::uint16_t> permissions,
                  const Provider &provider, const AddOptions &options);
    void addEntry(const std::string &with, Entry::EntryType type, std::int64_t uncompressedSize,
                  Date modificationDate, std::optional<std::uint16_t> permissions,
                  const Provider &provider) {
        addEntry(with, type, uncompressedSize, modificationDate, permissions, provider,
                 AddOptions{});
    }

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
    /// they cannot be told.
    [[nodiscard]] static std::int64_t totalUnitCountForAddingItem(const URL &at);
    /// A progress of so many units, to be given to `addEntry`.
    [[nodiscard]] static ProgressPointer makeProgressForAddingItem(const URL &at);

    /// @}
    /// @name Removing
    /// @{

    /// How to remove.
    struct RemoveOptions {
        std::int64_t bufferSize = defaultReadChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
        ProgressPointer progress = nullptr;             ///< counts the bytes that are kept
    };

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
    void remove(const Entry &entry, const RemoveOptions &options);
    void remove(const Entry &entry) { remove(entry, RemoveOptions{}); }
    /// The same for several entries at once: all of them go, or none.
    void remove(std::span<const Entry> entries, const RemoveOptions &options);

    /// The bytes that are copied when the entry is removed.
    [[nodiscard]] std::int64_t totalUnitCountForRemoving(const Entry &entry) const {
        return totalUnitCountForRemoving(std::span(&entry, 1));
    }
    /// A progress of so many units, to be given to `remove`.
    [[nodiscard]] ProgressPointer makeProgressForRemoving(const Entry &entry) const;

    /// @}

private:
    friend class ArchiveUnpacker;
    friend class EntryAppender;

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
    CRC32 extract(const Entry &entry, const std::string &name, DestinationFolder &folder,
                  const ExtractOptions &options) const;

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
};

/// Lets the code of an `Error` be compared with the enumeration.
[[nodiscard]] std::error_code make_error_code(Archive::ArchiveError error);

} // namespace vellomir::archive

template <>
struct std::is_error_code_enum<vellomir::archive::Archive::ArchiveError> : std::true_type {};
