#include "archive/Progress.h"

#include "archive/Archive.h"

#include <algorithm>

namespace vellomir::archive {

std::shared_ptr<Progress> Progress::make(std::int64_t totalUnitCount) {
    return std::shared_ptr<Progress>(new Progress(totalUnitCount));
}

void Progress::setTotalUnitCount(std::int64_t count) {
    total_ = count;
    changed();
}

void Progress::setCompletedUnitCount(std::int64_t count) {
    completed_ = count;
    changed();
}

void Progress::addCompletedUnitCount(std::int64_t count) {
    completed_ += count;
    changed();
}

double Progress::fractionCompleted() const {
    const auto total = static_cast<double>(totalUnitCount());
    if (total <= 0)
        return 0;
    const std::lock_guard lock(childrenLock_);
    auto completed = static_cast<double>(completedUnitCount());
    for (const Child &child : children_)
        if (const auto progress = child.progress.lock())
            completed +=
                progress->fractionCompleted() * static_cast<double>(child.pendingUnitCount);
    return std::clamp(completed / total, 0.0, 1.0);
}

void Progress::addChild(const std::shared_ptr<Progress> &child, std::int64_t pendingUnitCount) {
    child->parent_ = shared_from_this();
    if (pendingUnitCount <= 0)
        return; // counts nothing here, now or later
    const std::lock_guard lock(childrenLock_);
    // Children that went unfinished count nothing. Removing them only when the memory would grow
    // keeps adding cheap.
    if (children_.size() == children_.capacity())
        std::erase_if(children_, [](const Child &each) { return each.progress.expired(); });
    children_.push_back({child, pendingUnitCount});
}

bool Progress::isCancelled() const {
    return cancelled_ || (parent_ && parent_->isCancelled());
}

void Progress::throwIfCancelled(const std::string &path) const {
    if (isCancelled())
        throw Error(Archive::ArchiveError::cancelledOperation, {.path = path});
}

void Progress::changed() {
    if (observer_) {
        const std::lock_guard lock(observerLock_);
        observer_(*this);
    }
    if (!parent_)
        return;
    if (completedUnitCount() >= totalUnitCount())
        parent_->finishChild(this);
    else
        parent_->changed();
}

void Progress::finishChild(const Progress *child) {
    {
        const std::lock_guard lock(childrenLock_);
        const auto found = std::find_if(children_.begin(), children_.end(), [=](const Child &each) {
            return each.progress.lock().get() == child;
        });
        if (found != children_.end()) {
            // In one step for those who watch, or the fraction would go back for a moment.
            completed_ += found->pendingUnitCount;
            children_.erase(found);
        }
    }
    changed();
}

} // namespace vellomir::archive
