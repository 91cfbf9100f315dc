#pragma once

#include "Vellomir/Concurrency/Queue.h"

#include <atomic>
#include <memory>

namespace vellomir {

/// Runs work in the background for an owner on the main thread. Only the completion of the work
/// that was started last runs: `start`, `cancel` and the destructor void earlier work. None of them
/// waits for the work. Void work does not use the main queue.
class BackgroundWork {
public:
    using CancellationFlag = std::atomic<bool>;
    /// Runs in the background; returns the completion for the main thread, or null. It must check
    /// the flag between its steps, must not use the owner's data, and must not throw.
    using Work = std::function<Task(const CancellationFlag &isCancelled)>;

    /// The queues must live until the work is done or void.
    BackgroundWork(Queue mainQueue, Queue backgroundQueue);
    ~BackgroundWork();
    BackgroundWork(const BackgroundWork &) = delete;
    BackgroundWork &operator=(const BackgroundWork &) = delete;

    /// Main thread; returns at once.
    void start(Work work);
    /// Main thread.
    void cancel();

private:
    class Piece;

    Queue mainQueue_;
    Queue backgroundQueue_;
    std::shared_ptr<Piece> piece_;
};

} // namespace vellomir
