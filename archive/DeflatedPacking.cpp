#include "archive/DeflatedPacking.h"

#include <new>
#include <utility>

namespace vellomir::archive {
namespace {

/// Ends a thread that waits, after a failure on another one.
struct Stopped {};

/// More than the deflated form of data that cannot be compressed needs.
constexpr std::size_t roomForBlocks = 1 << 15;

/// Bytes of an item's header, its record for the directory, and its path beside them, at most.
std::uint64_t recordsOf(std::size_t pathLength) {
    constexpr std::size_t fixedSize = 256;
    return fixedSize + 3 * std::uint64_t{pathLength};
}

} // namespace

DeflatedPacking::DeflatedPacking(EntryAppender &appender, const PackingTask &task,
                                 const FileBatches::Limits &limits)
    : PackingWorkers(appender, task, limits) {
    written_.entries.end = start();
}

void DeflatedPacking::pack(const OrderedItem &batch, Worker &worker) {
    try {
        if (mayHold(batch.number()))
            packToMemory(batch, worker);
        else
            packHere(batch, worker);
    } catch (...) {
        stop();
        throw;
    }
}

/// Waits until the batch may be compressed to memory, which is counted then, or is the first one
/// that is not written; false in that case.
bool DeflatedPacking::mayHold(std::size_t batch) {
    const std::uint64_t size = heldSize(batch);
    const auto isFirst = [&] { return batch == written_.count && !isWriting_; };
    const auto hasRoom = [&] { return size <= heldLimit && held_ <= heldLimit - size; };
    std::unique_lock lock(lock_);
    changed_.wait(lock, [&] { return isStopped_ || isFirst() || hasRoom(); });
    if (isStopped_)
        throw Stopped();
    if (isFirst())
        return false;
    held_ += size;
    return true;
}

/// No other thread writes: it would have to wait for this batch.
void DeflatedPacking::packHere(const OrderedItem &batch, Worker &worker) {
    worker.writer.moveTo(written_.entries.end);
    const auto entries = write(batch, worker.source, worker.writer);
    worker.writer.flush();
    std::unique_lock lock(lock_);
    countWritten(entries, 0, worker.writer.position());
    writeComplete(lock, worker.writer);
}

void DeflatedPacking::packToMemory(const OrderedItem &batch, Worker &worker) {
    HeldBatch held = compress(batch, worker.source);
    std::unique_lock lock(lock_);
    complete_.emplace(batch.number(), std::move(held));
    if (!isWriting_)
        writeComplete(lock, worker.writer);
}

DeflatedPacking::HeldBatch DeflatedPacking::compress(const OrderedItem &batch,
                                                     SourceFolder &source) const {
    Data room;
    room.reserve(static_cast<std::size_t>(heldSize(batch.number())) + roomForBlocks);
    HeldBatch held{.bytes = MemoryFile::make(std::move(room)), .entries = {}};
    const Archive::FilePointer stream(held.bytes->open("r+"));
    if (!stream)
        throw std::bad_alloc();
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    StreamWriter writer(stream.get(), 0);
    held.entries = write(batch, source, writer);
    writer.flush();
    return held;
}

/// The lock is held, except while bytes are written.
void DeflatedPacking::writeComplete(std::unique_lock<std::mutex> &lock, StreamWriter &writer) {
    isWriting_ = true;
    while (!isStopped_ && complete_.contains(written_.count)) {
        const HeldBatch batch = std::move(complete_.extract(written_.count).mapped());
        const std::uint64_t start = written_.entries.end;
        lock.unlock();
        writer.moveTo(start);
        writer.write(batch.bytes->data());
        writer.flush();
        lock.lock();
        held_ -= heldSize(written_.count);
        countWritten(batch.entries, start, writer.position());
    }
    isWriting_ = false;
    changed_.notify_all();
}

void DeflatedPacking::countWritten(std::span<const PackedEntry> entries, std::uint64_t start,
                                   std::uint64_t end) {
    addRecords(entries, start, written_.entries);
    written_.entries.end = end;
    ++written_.count;
}

void DeflatedPacking::stop() {
    const std::lock_guard lock(lock_);
    isStopped_ = true;
    changed_.notify_all();
}

PackingWorkers::PackedBatches DeflatedPacking::packed(std::size_t /*failed*/) {
    return std::move(written_);
}

std::uint64_t DeflatedPacking::heldSize(std::size_t batch) const {
    std::uint64_t size = 0;
    for (const PlannedItem &item : itemsOf(batch))
        size += recordsOf(task().prefix.size() + item.path.size()) +
                static_cast<std::uint64_t>(item.size);
    return size;
}

} // namespace vellomir::archive
