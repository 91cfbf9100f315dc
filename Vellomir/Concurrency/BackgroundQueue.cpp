#include "Vellomir/Concurrency/BackgroundQueue.h"

#include <algorithm>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace vellomir {
namespace {

constexpr int backgroundNiceness = 10;

/// Lowers the priority of the calling thread only: on Linux these calls affect a thread, not the
/// process. If they fail, the tasks run at the usual priority.
void lowerPriority() {
    const sched_param parameters{};
    ::sched_setscheduler(0, SCHED_BATCH, &parameters);
    ::setpriority(PRIO_PROCESS, static_cast<id_t>(::gettid()), backgroundNiceness);
}

} // namespace

BackgroundQueue::BackgroundQueue(unsigned threadCount) {
    for (unsigned index = 0; index < std::max(threadCount, 2U); ++index)
        threads_.emplace_back([this] { work(); });
}

BackgroundQueue::~BackgroundQueue() {
    {
        std::deque<Task> dropped; // destroyed before the threads are joined
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        dropped.swap(tasks_);
    }
    changed_.notify_all();
    for (std::thread &thread : threads_)
        thread.join();
}

void BackgroundQueue::submit(Task task) {
    {
        const std::lock_guard lock(mutex_);
        tasks_.push_back(std::move(task));
    }
    changed_.notify_one();
}

void BackgroundQueue::work() {
    lowerPriority();
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return isStopping_ || !tasks_.empty(); });
        if (isStopping_)
            return;
        Task task = std::move(tasks_.front());
        tasks_.pop_front();
        lock.unlock();
        task();
        task = nullptr; // Destroys the task's captures before waiting for the next task.
        lock.lock();
    }
}

} // namespace vellomir
