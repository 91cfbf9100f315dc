#pragma once

#include "archive/Archive.h"
#include "archive/EntryList.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vellomir::archive {

class PlacedArchive;

/// One archive on its way into a new one with stored entries, without a folder between the two:
/// each file is inflated once, to its place in the new archive, and checked. What may change until
/// the new archive is finished is held in memory.
///
/// Takes only what it can treat exactly as unpacking to an empty folder and packing that would do.
/// For everything else it throws an `Error`, and the caller unpacks to a folder instead: for links,
/// for paths that `EntryList` does not take, for modes that would keep the owner from reading an
/// item or the files in a folder, or that have one of the bits above 0777; where an entry is not as
/// long as the directory says, or its checksum is wrong; and where the numbers or the memory do not
/// suffice. The caller's thread is the only one that uses an object.
class EntryTransfer {
public:
    /// How to read the old archive, and what of it is wanted.
    struct Options {
        ProgressPointer progress = nullptr;
        std::optional<TextEncoding> preferredEncoding = std::nullopt;
        /// Bytes; longer paths are not taken.
        std::size_t longestPath = 1000;
        /// The folder at the top that the new archive holds. Files outside it are only checked.
        std::string folder;
        /// Whether the file of this path is held in memory.
        std::function<bool(std::string_view path)> isHeld;
        /// How many threads inflate, the caller's one included; 0 for one a core, at most 8. Where
        /// the system makes no more threads, there are fewer.
        unsigned jobs = 1;
    };
    /// Entries by the end record of the old archive, and those that could be read.
    struct Count {
        std::uint64_t promised = 0;
        std::uint64_t read = 0;
    };

    /// The bytes of all files that are held, and the memory that the list may take.
    static constexpr std::size_t heldLimit = 16 << 20;
    static constexpr std::size_t listLimit = 24 << 20;

    /// Makes the new file, and reads the whole archive, which the stream is open for. Throws
    /// whatever reading and writing throw, and `cancelledOperation`.
    EntryTransfer(Archive::FilePointer archive, const std::string &newPath, Options options);
    EntryTransfer(const EntryTransfer &) = delete;
    EntryTransfer &operator=(const EntryTransfer &) = delete;
    /// The new file stays.
    ~EntryTransfer();

    /// What unpacking would have made. The content of a held file may be replaced.
    [[nodiscard]] EntryList &list() { return list_; }
    /// How many entries were read, of how many.
    [[nodiscard]] const Count &count() const { return count_; }

    /// Completes the new archive. Errors name this path. Throws `DataError::unwritableFile`, and
    /// `cancelledOperation`.
    void finish(const std::string &path, const ProgressPointer &progress);

private:
    /// An entry, and where its record is in the directory of the old archive.
    struct File {
        std::uint64_t position;
        ListedItem *item;
    };
    class Worker;

    void readDirectory(const Archive &archive);
    [[nodiscard]] ListedItem listed(const Entry &entry, std::string path);
    void countUnits(const Entry &entry);
    [[nodiscard]] std::vector<File> files();
    void transfer(const Archive &archive, std::span<const File> files);
    [[nodiscard]] std::vector<std::unique_ptr<Worker>> workers(const Archive &archive,
                                                               std::size_t most) const;
    [[nodiscard]] bool isInFolder(std::string_view path) const;

    Options options_;
    EntryList list_;
    Count count_;
    std::unique_ptr<PlacedArchive> target_;
    std::uint64_t promisedBytes_ = 0;
    std::size_t heldBytes_ = 0;
    std::size_t listBytes_ = 0;
};

} // namespace vellomir::archive
