#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace vellomir {

using Task = std::function<void()>;

/// Takes a task from any thread and returns at once; the task runs later, usually on another
/// thread.
using Queue = std::function<void(Task)>;

/// A main queue for programs without an event loop: tasks run one after another, in the order of
/// submission, on the thread that calls `run` or `runPending`.
class EventLoop {
public:
    /// Any thread.
    void submit(Task task);
    /// Submits to this object, which must outlive every use of the queue.
    [[nodiscard]] Queue queue() {
        return [this](Task task) { submit(std::move(task)); };
    }

    /// Runs tasks and waits for new ones until `stop` is called.
    void run();
    /// Runs the pending tasks, and those that they submit, without waiting.
    void runPending();
    /// Ends `run` after the current task. Any thread.
    void stop();

private:
    [[nodiscard]] Task next(bool mayWait);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool isStopped_ = false;
};

} // namespace vellomir
