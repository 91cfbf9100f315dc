#pragma once

#include "archive/MemoryFile.h"
#include "archive/PackingWorkers.h"

#include <condition_variable>
#include <map>
#include <mutex>

namespace vellomir::archive {

/// Deflated files: each thread compresses batches to memory, and what is complete is written in
/// the order of the batches. The first batch that is not complete may be written straight to the
/// archive, and so a file of any size can be packed.
class DeflatedPacking : public PackingWorkers {
public:
    /// Bytes of files, before compression, and of their records that are held in memory or are
    /// being made there.
    static constexpr std::uint64_t heldLimit = 24 << 20;

    DeflatedPacking(EntryAppender &appender, const PackingTask &task,
                    const FileBatches::Limits &limits);

private:
    /// A batch in memory.
    struct HeldBatch {
        std::shared_ptr<MemoryFile> bytes;
        std::vector<PackedEntry> entries; ///< offsets are from the start of the bytes
    };

    void pack(const OrderedItem &batch, Worker &worker) override;
    [[nodiscard]] PackedBatches packed(std::size_t failed) override;

    [[nodiscard]] bool mayHold(std::size_t batch);
    [[nodiscard]] HeldBatch compress(const OrderedItem &batch, SourceFolder &source) const;
    void packHere(const OrderedItem &batch, Worker &worker);
    void packToMemory(const OrderedItem &batch, Worker &worker);
    void writeComplete(std::unique_lock<std::mutex> &lock, StreamWriter &writer);
    void countWritten(std::span<const PackedEntry> entries, std::uint64_t start, std::uint64_t end);
    void stop();
    [[nodiscard]] std::uint64_t heldSize(std::size_t batch) const;

    std::mutex lock_; ///< of all below
    std::condition_variable changed_;
    std::map<std::size_t, HeldBatch> complete_; ///< batches that are not written
    std::uint64_t held_ = 0;                    ///< of `heldLimit`
    PackedBatches written_;                     ///< `written_.count` is the first one that is not
    bool isWriting_ = false;                    ///< a thread is writing complete batches
    bool isStopped_ = false;
};

} // namespace vellomir::archive
