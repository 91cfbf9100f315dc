#pragma once

#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "archive/FileWorkers.h"
#include "archive/OrderedWorkers.h"
#include "archive/SourceFolder.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace vellomir::archive {

/// An item that will be packed, as it was when the folder was listed.
struct PlannedItem {
    std::string path;      ///< below the folder
    std::int64_t size = 0; ///< bytes; 0 for a folder
    bool isFolder = false;

    /// Of progress.
    [[nodiscard]] std::int64_t unitCount() const {
        return isFolder ? defaultDirectoryUnitCount : size;
    }
};

/// What is packed, and how.
struct PackingTask {
    const SourceFolder &source;
    std::span<const PlannedItem> items;
    const std::string &prefix; ///< of the paths in the archive
    const FileManager::ZipOptions &options;
};

/// Packs the items of a folder on several threads, each with positions of its own in the folder and
/// in the archive. An item that fails, or is not as it was listed, ends that: it and all behind it
/// are left to one thread. So the archive is always that of one thread, and the error too, but for
/// the name of the item where the disk is full.
///
/// There is an implementation for stored files and one for deflated files.
class PackingWorkers {
public:
    /// For the method of the options. Nothing may have been added by the appender; it and what the
    /// task refers to must outlive the object. `limits` is the work that one thread takes at once.
    [[nodiscard]] static std::unique_ptr<PackingWorkers>
    make(EntryAppender &appender, const PackingTask &task, const FileBatches::Limits &limits = {});
    PackingWorkers(const PackingWorkers &) = delete;
    PackingWorkers &operator=(const PackingWorkers &) = delete;
    virtual ~PackingWorkers();

    /// How many items, from the first one on, the appender and the progress have afterwards; 0
    /// where two threads cannot be made. Once. Throws `DataError::unwritableFile` and
    /// `std::bad_alloc`.
    [[nodiscard]] std::size_t run();

protected:
    /// What one thread has for itself.
    struct Worker {
        Worker(SourceFolder ownSource, Archive::FilePointer ownFile, std::uint64_t start)
            : source(std::move(ownSource)), file(std::move(ownFile)), writer(file.get(), start) {}

        SourceFolder source;
        Archive::FilePointer file; ///< the archive
        StreamWriter writer;       ///< to the file
    };
    /// An entry, and where it starts in what was written.
    struct PackedEntry {
        NewEntry entry;
        std::uint64_t offset;
    };
    /// The batches from the first one on that are in the archive.
    struct PackedBatches {
        std::size_t count = 0;
        WrittenEntries entries;
    };

    PackingWorkers(EntryAppender &appender, const PackingTask &task,
                   const FileBatches::Limits &limits);

    [[nodiscard]] const PackingTask &task() const { return task_; }
    [[nodiscard]] const FileBatches &batches() const { return batches_; }
    /// Where the first entry starts in the archive.
    [[nodiscard]] std::uint64_t start() const { return start_; }
    [[nodiscard]] std::span<const PlannedItem> itemsOf(std::size_t batch) const;
    /// Writes the items of a batch. Throws anything if an item has changed or is not wanted.
    [[nodiscard]] std::vector<PackedEntry> write(const OrderedItem &batch, SourceFolder &source,
                                                 StreamWriter &writer) const;
    /// Adds the entries' records, all or none. What was written starts at this offset.
    static void addRecords(std::span<const PackedEntry> packed, std::uint64_t start,
                           WrittenEntries &entries);

private:
    class PlannedTarget;

    /// On the worker's thread. What it throws ends the packing.
    virtual void pack(const OrderedItem &batch, Worker &worker) = 0;
    /// After all threads have ended. No batch from `failed` on counts.
    [[nodiscard]] virtual PackedBatches packed(std::size_t failed) = 0;

    void makeWorkers();
    void countUnits(std::size_t items, std::int64_t before) const;

    EntryAppender &appender_;
    PackingTask task_;
    FileBatches batches_;
    std::uint64_t start_;
    std::vector<std::unique_ptr<Worker>> workers_;
};

} // namespace vellomir::archive
