#pragma once

#include "Vellomir/Platform/Queue.h"

#include <thread>
#include <vector>

namespace vellomir {

/// A concurrent queue of background priority: threads of its own, at least two, that give way to
/// everything else the machine has to do. Tasks start in the order of their submission and run side
/// by side.
class BackgroundQueue {
public:
    explicit BackgroundQueue(unsigned threadCount = std::thread::hardware_concurrency());
    /// Waits for the tasks that run; those that wait are dropped.
    ~BackgroundQueue();
    BackgroundQueue(const BackgroundQueue &) = delete;
    BackgroundQueue &operator=(const BackgroundQueue &) = delete;

    /// Any thread. A task must not throw.
    void submit(Task task);
    /// Hands tasks to this object, which must outlive all that submit.
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
