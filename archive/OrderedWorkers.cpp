#include "archive/OrderedWorkers.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace vellomir::archive {
namespace {

using Task = std::function<void(const OrderedItem &)>;

/// What the threads of one run share.
class OrderedRun {
public:
    OrderedRun(const OrderedWork &work, unsigned workers, const Task &task)
        : work_(work), task_(task), firstFailed_(work.count), current_(workers, work.count) {}

    /// One thread's part: returns when nothing is left to begin.
    void runWorker(unsigned worker) {
        while (const auto number = begin(worker)) {
            try {
                task_(OrderedItem(*number, worker, firstFailed_));
            } catch (...) {
                fail(*number, std::current_exception());
            }
        }
    }

    /// For the caller, after all threads have ended.
    [[nodiscard]] OrderedOutcome outcome() const { return {failure_, firstFailed_, next_}; }

private:
    /// Finishes the worker's item, and takes the next one.
    std::optional<std::size_t> begin(unsigned worker) {
        std::unique_lock lock(lock_);
        current_[worker] = work_.count;
        changed_.notify_all(); // the window may have moved, or there was a failure
        changed_.wait(lock, [this] { return isAtEnd() || next_ - firstUnfinished() < window(); });
        if (isAtEnd())
            return std::nullopt;
        current_[worker] = next_;
        return next_++;
    }

    void fail(std::size_t number, std::exception_ptr failure) {
        const std::lock_guard lock(lock_);
        if (number > firstFailed_)
            return;
        firstFailed_ = number;
        failure_ = std::move(failure);
    }

    [[nodiscard]] bool isAtEnd() const { return next_ == work_.count || failure_; }
    [[nodiscard]] std::size_t window() const { return std::max<std::size_t>(work_.window, 1); }
    [[nodiscard]] std::size_t firstUnfinished() const {
        return std::min(next_, *std::min_element(current_.begin(), current_.end()));
    }

    const OrderedWork &work_;
    const Task &task_;
    std::mutex lock_;
    std::condition_variable changed_;
    std::atomic<std::size_t> firstFailed_; ///< written under the lock only
    std::exception_ptr failure_;
    std::vector<std::size_t> current_; ///< the item of each worker; the count if it has none
    std::size_t next_ = 0;
};

OrderedOutcome runAlone(const OrderedWork &work, const Task &task) {
    const std::atomic<std::size_t> firstFailed = work.count;
    for (std::size_t number = 0; number < work.count; ++number) {
        try {
            task(OrderedItem(number, 0, firstFailed));
        } catch (...) {
            return {std::current_exception(), number, number + 1};
        }
    }
    return {nullptr, work.count, work.count};
}

} // namespace

unsigned threadCount(unsigned jobs) {
    constexpr unsigned most = 8;
    return jobs == 0 ? std::clamp(std::thread::hardware_concurrency(), 1U, most) : jobs;
}

OrderedOutcome runInOrder(const OrderedWork &work, const Task &task) {
    const auto workers = static_cast<unsigned>(std::min<std::size_t>(work.workers, work.count));
    if (workers <= 1)
        return runAlone(work, task);
    OrderedRun run(work, workers, task);
    {
        std::vector<std::jthread> threads;
        threads.reserve(workers - 1);
        try {
            for (unsigned worker = 1; worker < workers; ++worker)
                threads.emplace_back([&run, worker] { run.runWorker(worker); });
        } catch (const std::system_error &) { // no more threads
        } catch (const std::bad_alloc &) {
        }
        run.runWorker(0);
    }
    return run.outcome();
}

} // namespace vellomir::archive
