#pragma once

#include "archive/Archive.h"
#include "archive/DestinationFolder.h"
#include "archive/EntryWriter.h"
#include "archive/FileManager.h"
#include "archive/FileWorkers.h"
#include "archive/UnitCount.h"

#include <array>
#include <memory>

namespace vellomir::archive {

/// One archive on its way into a folder. Keeps 8 bytes an entry, and the paths of the folders.
class ArchiveUnpacker {
public:
    /// Opens the archive; throws `unreadableArchive`, and `cancelledOperation`.
    ArchiveUnpacker(const URL &at, const URL &to, const FileManager::UnzipOptions &options,
                    const FileBatches::Limits &limits = {});

    /// Once.
    void run();

private:
    void readDirectory();
    void count(const Entry &entry);
    void extractAll();
    void extractFiles();
    void extract(Entry::EntryType type);
    void throwIfCancelled() const;

    FileManager::UnzipOptions options_;
    std::unique_ptr<Archive> archive_;
    URL destination_;
    DestinationFolder folder_;
    EntryWriter writer_;
    std::array<RecordPositions, 3> positions_; ///< by `Entry::EntryType`
    FileBatches batches_;                      ///< of the files; empty for one thread
    UnitCount totalUnitCount_;
    std::uint64_t promisedBytes_ = 0;
};

} // namespace vellomir::archive
