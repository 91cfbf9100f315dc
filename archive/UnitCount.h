#pragma once

#include "archive/Archive.h"

namespace vellomir::archive {

/// A sum of progress units. Throws `invalidEntrySize` when it leaves 64 bits.
class UnitCount {
public:
    UnitCount &operator+=(std::int64_t count) {
        if (__builtin_add_overflow(value_, count, &value_))
            throw Error(Archive::ArchiveError::invalidEntrySize,
                        {.detail = "The entries add up to more than any disk holds"});
        return *this;
    }
    [[nodiscard]] std::int64_t value() const { return value_; }

private:
    std::int64_t value_ = 0;
};

/// A part of the work with a progress of its own, as large as `unitCount()` says; none if nobody
/// asked for the whole's.
template <class Count>
[[nodiscard]] std::shared_ptr<Progress> childProgress(const std::shared_ptr<Progress> &progress,
                                                      const Count &unitCount) {
    if (!progress)
        return nullptr;
    const std::int64_t count = unitCount();
    auto part = Progress::make(count);
    progress->addChild(part, count);
    return part;
}

/// Throws `cancelledOperation` if there is a progress and it was cancelled.
inline void requireNotCancelled(const std::shared_ptr<Progress> &progress) {
    if (progress && progress->isCancelled())
        throw Error(Archive::ArchiveError::cancelledOperation);
}

/// Sets the completed units to the total, if there is a progress.
inline void complete(const std::shared_ptr<Progress> &progress) {
    if (progress)
        progress->setCompletedUnitCount(progress->totalUnitCount());
}

} // namespace vellomir::archive
