#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>

namespace vellomir {

/// Counts the running jobs, so that others can wait for them before they change what the jobs use.
class JobCounter : public std::enable_shared_from_this<JobCounter> {
public:
    /// The job counts as running until its token and all copies of it are destroyed.
    using Token = std::shared_ptr<const void>;

    [[nodiscard]] Token startJob() {
        const std::lock_guard lock(mutex_);
        ++count_;
        return {this, [self = shared_from_this()](const void *) { self->endJob(); }};
    }

    void waitForAll() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return count_ == 0; });
    }

private:
    void endJob() {
        const std::lock_guard lock(mutex_);
        --count_;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int count_ = 0;
};

} // namespace vellomir
