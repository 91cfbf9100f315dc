#pragma once

#include "archive/EntryList.h"
#include "archive/EntryRecords.h"
#include "archive/StreamWriter.h"

#include <cstdint>
#include <span>
#include <string>

namespace vellomir::archive {

/// A new archive of stored files and of folders, whose directory has the order of a list, while
/// the data may have another one:
///
///     | files … | folders, and files with a content in memory … | directory | end records |
///
/// The sizes of the first files are known before their data is read, so their places are too.
class PlacedArchive {
public:
    /// Makes the file, readable and writable for all that the umask lets. Throws a write error.
    explicit PlacedArchive(std::string path);
    PlacedArchive(const PlacedArchive &) = delete;
    PlacedArchive &operator=(const PlacedArchive &) = delete;
    /// The file stays.
    ~PlacedArchive() = default;

    /// Gives the next place to a file, whose size must be known.
    void reserve(ListedItem &file);
    /// The bytes of all reserved places.
    [[nodiscard]] std::uint64_t reservedBytes() const { return end_; }

    /// Writes files to their places, each in one piece. One object for each thread.
    class Writer {
    public:
        /// Opens the file once more. Throws a write error.
        explicit Writer(const PlacedArchive &archive);
        /// Goes to the place of a file, and writes its header with the promised checksum.
        void begin(const ListedItem &file);
        void write(std::span<const std::byte> chunk) { writer_.write(chunk); }
        /// Hands everything to the system.
        void flush() { writer_.flush(); }

    private:
        std::string path_;
        Archive::FilePointer file_;
        StreamWriter writer_;
    };

    /// Writes the folders, the files with a content in memory, and the records of all items, which
    /// are all that the archive shall hold. Throws `DataError::unwritableFile` with this path, and
    /// `cancelledOperation`.
    void finish(std::span<ListedItem> items, const std::string &path,
                const ProgressPointer &progress);

private:
    std::string path_;
    std::uint64_t end_ = 0;
};

} // namespace vellomir::archive
