#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace vellomir::archive {

/// How far an operation has come, and the way to stop it. Shared by the thread that works and those
/// that watch: every member may be called from any thread.
///
/// The engine counts after each chunk (16 KiB by default) and polls for cancellation before each.
class Progress : public std::enable_shared_from_this<Progress> {
public:
    /// Called on a working thread after each change of this object or of one below it; never on two
    /// threads at once.
    using Observer = std::function<void(const Progress &)>;

    /// One that has this total, and nothing completed.
    [[nodiscard]] static std::shared_ptr<Progress> make(std::int64_t totalUnitCount = 0);

    /// All units there are to be; bytes, for most operations. They set it when they begin.
    [[nodiscard]] std::int64_t totalUnitCount() const { return total_; }
    /// Calls the observers.
    void setTotalUnitCount(std::int64_t count);

    /// The own units and the pending counts of the children that are finished.
    [[nodiscard]] std::int64_t completedUnitCount() const { return completed_; }
    /// Calls the observers. At the total, the progress above counts this one as finished.
    void setCompletedUnitCount(std::int64_t count);
    /// The same with what is completed in addition.
    void addCompletedUnitCount(std::int64_t count);

    /// From 0 to 1, with the share of the children that are on their way; 0 while the total is 0.
    [[nodiscard]] double fractionCompleted() const;

    /// The child's work counts `pendingUnitCount` here when it is finished, once. Before any other
    /// thread knows the child.
    void addChild(const std::shared_ptr<Progress> &child, std::int64_t pendingUnitCount);

    /// Stops the operation at its next chunk, and those of all children.
    void cancel() { cancelled_ = true; }
    /// Whether this one, or one above it, was cancelled.
    [[nodiscard]] bool isCancelled() const;
    /// Throws `ArchiveError::cancelledOperation`, with this path, if this one, or one above it, was
    /// cancelled.
    void throwIfCancelled(const std::string &path = {}) const;

    /// Set before the work begins.
    void setObserver(Observer observer) { observer_ = std::move(observer); }

private:
    explicit Progress(std::int64_t totalUnitCount) : total_(totalUnitCount) {}
    void changed();
    void finishChild(const Progress *child);

    struct Child {
        std::weak_ptr<Progress> progress;
        std::int64_t pendingUnitCount = 0;
    };

    std::atomic<std::int64_t> total_;
    std::atomic<std::int64_t> completed_ = 0;
    std::atomic<bool> cancelled_ = false;
    std::shared_ptr<Progress> parent_;
    mutable std::mutex childrenLock_;
    std::vector<Child> children_;
    Observer observer_;
    std::recursive_mutex observerLock_; ///< an observer may change the progress
};

} // namespace vellomir::archive
