#include "archive/PackingWorkers.h"

#include "archive/DeflatedPacking.h"
#include "archive/NewEntryWriter.h"
#include "archive/StoredPacking.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace vellomir::archive {
namespace {

/// Ends the work on items that one thread will pack.
struct LeftToOneThread {};

/// Threads that write to one file wait for each other, so pieces of stored files are large, and
/// more threads than these only wait longer.
constexpr std::int64_t storedChunkSize = 1 << 17;
constexpr unsigned storedThreads = 4;

} // namespace

/// Writes one item, unless it has changed since it was listed.
class PackingWorkers::PlannedTarget : public EntryTarget {
public:
    explicit PlannedTarget(StreamWriter &writer) : writer_(writer) {}

    void expect(const PlannedItem &item) { item_ = &item; }
    [[nodiscard]] std::vector<PackedEntry> takeEntries() { return std::move(entries_); }

private:
    void write(const NewEntry &entry, const Provider &provider,
               const AddOptions &options) override {
        const bool isFolder = entry.type == Entry::EntryType::directory;
        if (isFolder != item_->isFolder ||
            entry.uncompressedSize != static_cast<std::uint64_t>(item_->size))
            throw LeftToOneThread();
        const std::uint64_t offset = writer_.position();
        entries_.push_back({writeNewEntry(writer_, entry, provider, options), offset});
    }

    StreamWriter &writer_;
    const PlannedItem *item_ = nullptr;
    std::vector<PackedEntry> entries_;
};

std::unique_ptr<PackingWorkers> PackingWorkers::make(EntryAppender &appender,
                                                     const PackingTask &task,
                                                     const FileBatches::Limits &limits) {
    if (task.options.compressionMethod == CompressionMethod::deflate)
        return std::make_unique<DeflatedPacking>(appender, task, limits);
    return std::make_unique<StoredPacking>(appender, task, limits);
}

PackingWorkers::PackingWorkers(EntryAppender &appender, const PackingTask &task,
                               const FileBatches::Limits &limits)
    : appender_(appender), task_(task), batches_(limits), start_(appender.position()) {
    for (const PlannedItem &item : task.items)
        batches_.add(static_cast<std::uint64_t>(item.size));
}

PackingWorkers::~PackingWorkers() = default;

std::size_t PackingWorkers::run() {
    makeWorkers();
    if (workers_.size() < 2)
        return 0;
    const auto &progress = task_.options.progress;
    const std::int64_t before = progress ? progress->completedUnitCount() : 0;
    const OrderedOutcome outcome =
        runInOrder({.count = batches_.count(),
                    .workers = static_cast<unsigned>(workers_.size()),
                    .window = batches_.limits().window},
                   [this](const OrderedItem &batch) { pack(batch, *workers_[batch.worker()]); });
    workers_.clear();
    PackedBatches done = packed(outcome.failed);
    appender_.take(done.entries);
    const std::size_t items = batches_.start(done.count);
    countUnits(items, before);
    return items;
}

/// A worker that cannot be made is no error: there are fewer then.
void PackingWorkers::makeWorkers() {
    unsigned threads = threadCount(task_.options.jobs);
    if (task_.options.compressionMethod == CompressionMethod::none)
        threads = std::min(threads, storedThreads);
    const auto count = std::min<std::size_t>(threads, batches_.count());
    try {
        while (count > 1 && workers_.size() < count) {
            auto file = appender_.openForAnotherThread();
            if (!file)
                return;
            workers_.push_back(
                std::make_unique<Worker>(task_.source.forAnotherThread(), std::move(file), start_));
        }
    } catch (const std::exception &) { // no descriptors or no memory
    }
}

std::span<const PlannedItem> PackingWorkers::itemsOf(std::size_t batch) const {
    const std::size_t first = batches_.start(batch);
    return task_.items.subspan(first, batches_.start(batch + 1) - first);
}

std::vector<PackingWorkers::PackedEntry>
PackingWorkers::write(const OrderedItem &batch, SourceFolder &source, StreamWriter &writer) const {
    const CompressionMethod method = task_.options.compressionMethod;
    const std::int64_t chunkSize =
        method == CompressionMethod::none ? storedChunkSize : defaultWriteChunkSize;
    PlannedTarget target(writer);
    for (const PlannedItem &item : itemsOf(batch.number())) {
        if (!batch.isWanted())
            throw LeftToOneThread();
        target.expect(item);
        source.item(item.path).add(
            target, task_.prefix + item.path,
            {.compressionMethod = method,
             .bufferSize = chunkSize,
             .progress = childProgress(task_.options.progress, [&] { return item.unitCount(); })});
    }
    return target.takeEntries();
}

void PackingWorkers::addRecords(std::span<const PackedEntry> packed, std::uint64_t start,
                                WrittenEntries &entries) {
    Data records;
    for (const PackedEntry &each : packed)
        records.append(directoryRecord(each.entry, start + each.offset).data());
    entries.directory.append(records);
    entries.count += packed.size();
}

/// What was counted of items behind them is taken back.
void PackingWorkers::countUnits(std::size_t items, std::int64_t before) const {
    if (!task_.options.progress)
        return;
    std::int64_t units = before;
    for (const PlannedItem &item : task_.items.first(items))
        units += item.unitCount();
    if (task_.options.progress->completedUnitCount() != units)
        task_.options.progress->setCompletedUnitCount(units);
}

} // namespace vellomir::archive
