#pragma once

#include "archive/Archive.h"
#include "archive/DestinationFolder.h"
#include "archive/FileManager.h"

#include <cstdint>
#include <string>

namespace vellomir::archive {

/// Writes single entries of an archive into a folder, for one thread. What it is made of must
/// outlive it.
class EntryWriter {
public:
    EntryWriter(const Archive &archive, DestinationFolder &folder, const URL &destination,
                const FileManager::UnzipOptions &options);

    /// Writes the entry of this type whose record is at this position, from the start of the
    /// archive. Throws what extraction throws, with the entry's path; `invalidCRC32` after the item
    /// has been written; `cancelledOperation`; `unreadableArchive` if another record is there.
    void write(std::uint64_t position, Entry::EntryType type);
    /// What the last `write` has added to the units of the whole progress, also if it has thrown.
    [[nodiscard]] std::int64_t countedUnits() const;

    /// Removes the file that `write` has made of the entry.
    void removeFile(std::uint64_t position);

private:
    [[nodiscard]] Entry entryAt(std::uint64_t position, Entry::EntryType type);
    void extract(const Entry &entry, const std::string &entryPath);

    const Archive &archive_;
    DestinationFolder &folder_;
    const URL &destination_;
    const FileManager::UnzipOptions &options_;
    EntryIterator entries_;
    ProgressPointer part_; ///< of the last entry
};

} // namespace vellomir::archive
