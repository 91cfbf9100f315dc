#pragma once

#include "Vellomir/Concurrency/Queue.h"

#include <memory>
#include <vector>

namespace vellomir {

/// Keeps an observer registered until it is destroyed. Observers are registered, called and removed
/// on the main thread.
using Observation = std::shared_ptr<const void>;

/// Delivers changes from any thread to observers on the main thread: each change once, in order. An
/// observer gets only the changes made after its registration.
template <class Change>
class ChangeFeed : public std::enable_shared_from_this<ChangeFeed<Change>> {
public:
    using Observer = std::function<void(const Change &)>;

    explicit ChangeFeed(Queue mainQueue) : mainQueue_(std::move(mainQueue)) {}

    [[nodiscard]] Observation observe(Observer observer) {
        const auto shared = std::make_shared<const Observer>(std::move(observer));
        const std::lock_guard lock(mutex_);
        auto list = std::make_shared<List>();
        for (const auto &each : *observers_)
            if (!each.expired())
                list->push_back(each);
        list->push_back(shared);
        observers_ = std::move(list);
        return shared;
    }

    /// Call it with the changed value's lock held; this determines the order of the changes.
    void add(Change change) {
        const std::lock_guard lock(mutex_);
        pending_.push_back({std::move(change), observers_});
    }

    /// Call it once for each `add`, without that lock: the queue may run the task at once.
    void deliver() {
        mainQueue_([feed = this->shared_from_this()] { feed->deliverNext(); });
    }

private:
    using List = std::vector<std::weak_ptr<const Observer>>;
    struct Pending {
        Change change;
        std::shared_ptr<const List> observers;
    };

    [[nodiscard]] Pending takeNext() {
        const std::lock_guard lock(mutex_);
        Pending next = std::move(pending_.front());
        pending_.pop_front();
        return next;
    }

    void deliverNext() {
        const Pending next = takeNext();
        for (const auto &each : *next.observers)
            if (const auto observer = each.lock())
                (*observer)(next.change);
    }

    Queue mainQueue_;
    std::mutex mutex_;
    std::shared_ptr<const List> observers_ = std::make_shared<const List>();
    std::deque<Pending> pending_;
};

} // namespace vellomir
