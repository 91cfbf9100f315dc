#pragma once

#include "Vellomir/Concurrency/Queue.h"

#include <thread>
#include <vector>

namespace vellomir {

/// A concurrent queue of background priority, with at least two threads of its own. Tasks start in
/// the order of submission and run in parallel.
class BackgroundQueue {
public:
    explicit BackgroundQueue(unsigned threadCount = std::thread::hardware_concurrency());
    /// Waits for running tasks; pending tasks are dropped.
    ~BackgroundQueue();
    BackgroundQueue(const BackgroundQueue &) = delete;
    BackgroundQueue &operator=(const BackgroundQueue &) = delete;

    /// Any thread. A task must not throw.
    void submit(Task task);
    /// Submits to this object, which must outlive every use of the queue.
    [[nodiscard]] Queue queue() {
        return [this](Task task) { submit(std::move(task)); };
    }

private:
    void work();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool isStopping_ = false;
    std::vector<std::thread> threads_;
};

} // namespace vellomir
