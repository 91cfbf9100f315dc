#include "archive/StoredPacking.h"

namespace vellomir::archive {
namespace {

/// The bytes of an item's header and data.
std::uint64_t extent(const PlannedItem &item, const std::string &prefix) {
    const auto size = static_cast<std::uint64_t>(item.size);
    return localFileHeaderSize(prefix.size() + item.path.size() + (item.isFolder ? 1 : 0), size) +
           size;
}

} // namespace

StoredPacking::StoredPacking(EntryAppender &appender, const PackingTask &task,
                             const FileBatches::Limits &limits)
    : PackingWorkers(appender, task, limits), entries_(batches().count()) {
    places_.reserve(batches().count() + 1);
    places_.push_back(start());
    for (std::size_t batch = 0; batch < batches().count(); ++batch) {
        std::uint64_t end = places_.back();
        for (const PlannedItem &item : itemsOf(batch))
            end += extent(item, task.prefix);
        places_.push_back(end);
    }
}

/// The items have their listed sizes, so a batch never reaches into the place of another.
void StoredPacking::pack(const OrderedItem &batch, Worker &worker) {
    const std::size_t number = batch.number();
    if (worker.writer.position() != places_[number])
        worker.writer.moveTo(places_[number]);
    addRecords(write(batch, worker.source, worker.writer), 0, entries_[number]);
    worker.writer.flush();
}

PackingWorkers::PackedBatches StoredPacking::packed(std::size_t failed) {
    PackedBatches all;
    all.count = failed;
    all.entries.end = places_[failed];
    for (std::size_t batch = 0; batch < failed; ++batch) {
        const WrittenEntries entries = std::move(entries_[batch]);
        all.entries.directory.append(entries.directory);
        all.entries.count += entries.count;
    }
    return all;
}

} // namespace vellomir::archive
