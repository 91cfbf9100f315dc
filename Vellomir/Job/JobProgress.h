#pragma once

#include "archive/Progress.h"

#include <memory>

namespace vellomir {

/// Combines the progress of the long steps into that of the whole job. Does nothing without a
/// progress object.
class JobProgress {
public:
    using ProgressPointer = std::shared_ptr<archive::Progress>;

    explicit JobProgress(ProgressPointer progress) : progress_(std::move(progress)) {}

    void begin() const {
        if (!progress_)
            return;
        progress_->setCompletedUnitCount(0);
        progress_->setTotalUnitCount(100);
    }

    /// Runs a step of this weight, in percent of the job, with a child progress; the full weight
    /// counts as done when the step returns.
    template <class Step>
    void run(int percent, Step step) const {
        if (!progress_)
            return step(ProgressPointer());
        const ProgressPointer child = archive::Progress::make();
        progress_->addChild(child, percent);
        step(child);
        child->setCompletedUnitCount(child->totalUnitCount());
    }

    /// For short steps, which only check for cancellation. Null without a progress object.
    [[nodiscard]] const archive::Progress *progress() const { return progress_.get(); }

private:
    ProgressPointer progress_;
};

} // namespace vellomir
