#include "Vellomir/Concurrency/Queue.h"

namespace vellomir {

void EventLoop::submit(Task task) {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    // Notify with the lock held: the task may end the loop, and its owner may then destroy it.
    changed_.notify_one();
}

void EventLoop::run() {
    while (const Task task = next(true))
        task();
    const std::lock_guard lock(mutex_);
    isStopped_ = false;
}

void EventLoop::runPending() {
    while (const Task task = next(false))
        task();
}

void EventLoop::stop() {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
    changed_.notify_one();
}

Task EventLoop::next(bool mayWait) {
    std::unique_lock lock(mutex_);
    if (mayWait)
        changed_.wait(lock, [this] { return isStopped_ || !tasks_.empty(); });
    if (tasks_.empty() || (mayWait && isStopped_))
        return nullptr;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

} // namespace vellomir
