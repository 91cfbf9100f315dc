#include "Vellomir/Concurrency/BackgroundWork.h"

#include <utility>

namespace vellomir {

class BackgroundWork::Piece : public std::enable_shared_from_this<Piece> {
public:
    void run(const Queue &mainQueue, const Work &work) {
        if (isCancelled_)
            return;
        if (Task completion = work(isCancelled_))
            handOver(mainQueue, std::move(completion));
    }

    /// Waits for a completion that is being submitted, so that none is submitted after it returns.
    void cancel() {
        isCancelled_ = true;
        const std::lock_guard lock(handingOver_);
    }

private:
    void handOver(const Queue &mainQueue, Task completion) {
        const std::lock_guard lock(handingOver_);
        if (isCancelled_)
            return;
        mainQueue([self = shared_from_this(), completion = std::move(completion)] {
            if (!self->isCancelled_)
                completion();
        });
    }

    CancellationFlag isCancelled_ = false;
    /// Recursive, because a queue may run its task at once, and a completion may call `cancel`.
    std::recursive_mutex handingOver_;
};

BackgroundWork::BackgroundWork(Queue mainQueue, Queue backgroundQueue)
    : mainQueue_(std::move(mainQueue)), backgroundQueue_(std::move(backgroundQueue)) {}

BackgroundWork::~BackgroundWork() {
    cancel();
}

void BackgroundWork::start(Work work) {
    cancel();
    piece_ = std::make_shared<Piece>();
    backgroundQueue_([piece = piece_, mainQueue = mainQueue_, work = std::move(work)] {
        piece->run(mainQueue, work);
    });
}

void BackgroundWork::cancel() {
    if (const auto piece = std::exchange(piece_, nullptr))
        piece->cancel();
}

} // namespace vellomir
