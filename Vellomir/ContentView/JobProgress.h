#pragma once

#include "archive/Progress.h"

#include <memory>

namespace vellomir {

/// The progress of a whole job, made of that of its long steps. Without a progress object, none of
/// it happens.
class JobProgress {
public:
    using ProgressPointer = std::shared_ptr<archive::Progress>;

    /// What a step counts for, in percent of the job.
    enum class Share { copying = 10, unpacking = 45, packing = 45 };

    explicit JobProgress(ProgressPointer progress) : progress_(std::move(progress)) {}

    void begin() const {
        if (!progress_)
            return;
        progress_->setCompletedUnitCount(0);
        progress_->setTotalUnitCount(100);
    }

    /// Runs a step with a progress of its own; when it returns, its whole share is done.
    template <class Step>
    void run(Share share, Step step) const {
        if (!progress_)
            return step(ProgressPointer());
        const ProgressPointer child = archive::Progress::make();
        progress_->addChild(child, static_cast<std::int64_t>(share));
        step(child);
        child->setCompletedUnitCount(child->totalUnitCount());
    }

    /// For what is too short to count, but asks for cancellation. Null without a progress.
    [[nodiscard]] const archive::Progress *progress() const { return progress_.get(); }

private:
    ProgressPointer progress_;
};

} // namespace vellomir
