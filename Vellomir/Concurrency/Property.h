#pragma once

#include "Vellomir/Concurrency/ChangeFeed.h"

namespace vellomir {

/// A value that any thread reads and writes. Observers on the main thread are called with each
/// change, in order. Writing an equal value is not a change.
template <class Value>
class Property {
public:
    using Observer = typename ChangeFeed<Value>::Observer;

    explicit Property(Queue mainQueue, Value initial = {})
        : feed_(std::make_shared<ChangeFeed<Value>>(std::move(mainQueue))),
          value_(std::move(initial)) {}

    [[nodiscard]] Value get() const {
        const std::lock_guard lock(mutex_);
        return value_;
    }

    void set(Value value) {
        update([&value](Value &current) { current = std::move(value); });
    }

    /// Changes the value in place. `change` runs with the lock held and must not use this property.
    template <class Change>
    void update(Change &&change) {
        if (apply(std::forward<Change>(change)))
            feed_->deliver();
    }

    /// The observer is called on the main thread with the new value.
    [[nodiscard]] Observation observe(Observer observer) {
        return feed_->observe(std::move(observer));
    }

private:
    template <class Change>
    bool apply(Change &&change) {
        const std::lock_guard lock(mutex_);
        const Value before = value_;
        std::forward<Change>(change)(value_);
        if (value_ == before)
            return false;
        feed_->add(value_);
        return true;
    }

    std::shared_ptr<ChangeFeed<Value>> feed_;
    mutable std::mutex mutex_;
    Value value_;
};

} // namespace vellomir
