#pragma once

#include "archive/PackingWorkers.h"

namespace vellomir::archive {

/// Stored files: their places follow from their sizes, and each thread copies batches to theirs.
class StoredPacking : public PackingWorkers {
public:
    StoredPacking(EntryAppender &appender, const PackingTask &task,
                  const FileBatches::Limits &limits);

private:
    void pack(const OrderedItem &batch, Worker &worker) override;
    [[nodiscard]] PackedBatches packed(std::size_t failed) override;

    std::vector<std::uint64_t> places_;   ///< where each batch starts, and the end of the last one
    std::vector<WrittenEntries> entries_; ///< of each batch
};

} // namespace vellomir::archive
