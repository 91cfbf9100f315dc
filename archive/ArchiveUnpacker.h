#pragma once

#include "archive/Archive.h"
#include "archive/DestinationFolder.h"
#include "archive/FileManager.h"
#include "archive/UnitCount.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace vellomir::archive {

/// One archive on its way into a folder. Keeps 8 bytes an entry, and the paths of the folders.
class ArchiveUnpacker {
public:
    /// Opens the archive; throws `unreadableArchive`, and `cancelledOperation`.
    ArchiveUnpacker(const URL &at, const URL &to, const FileManager::UnzipOptions &options);

    /// Once.
    void run();

private:
    /// Where records of the directory are, from the start of the archive.
    using Positions = std::vector<std::uint64_t>;

    void readDirectory();
    void count(const Entry &entry);
    void extractAll();
    void extract(const Entry &entry, const std::string &entryPath);
    [[nodiscard]] Entry entryAt(std::uint64_t position, Entry::EntryType type);
    void throwIfCancelled() const;

    FileManager::UnzipOptions options_;
    std::unique_ptr<Archive> archive_;
    Archive::EntryIterator entries_;
    URL destination_;
    DestinationFolder folder_;
    std::array<Positions, 3> positions_; ///< by `Entry::EntryType`
    UnitCount totalUnitCount_;
    std::uint64_t promisedBytes_ = 0;
};

} // namespace vellomir::archive
