#pragma once

#include "Vellomir/Platform/Queue.h"

#include <atomic>
#include <memory>

namespace vellomir {

/// Work in the background for an owner on the main thread, who hears of nothing but the piece that
/// was started last: starting another, cancelling and destroying this object make a piece void. The
/// owner never waits for it, and a void piece no longer touches the main queue.
class BackgroundWork {
public:
    using CancellationFlag = std::atomic<bool>;
    /// Runs in the background; returns what is to be done on the main thread, or null. Looks at the
    /// flag between its steps, touches nothing that is the owner's, and must not throw.
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
