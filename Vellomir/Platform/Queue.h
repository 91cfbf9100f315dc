#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace vellomir {

using Task = std::function<void()>;

/// Takes a task from any thread and returns at once; the task runs later, elsewhere.
using Queue = std::function<void(Task)>;

/// A main queue for programs without an event loop of their own: the tasks wait until the thread
/// that owns the loop runs them, one after another, in the order of their submission.
class EventLoop {
public:
    /// Any thread.
    void submit(Task task);
    /// Hands tasks to this object, which must outlive all that submit.
    [[nodiscard]] Queue queue() {
        return [this](Task task) { submit(std::move(task)); };
    }

    /// Runs tasks, and waits for new ones, until `stop`.
    void run();
    /// Runs what waits now, and what that submits, without waiting.
    void runPending();
    /// Ends `run` after the task that is running. Any thread.
    void stop();

private:
    [[nodiscard]] Task next(bool mayWait);

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> tasks_;
    bool isStopped_ = false;
};

} // namespace vellomir
