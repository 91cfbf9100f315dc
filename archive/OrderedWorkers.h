#pragma once

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>

namespace vellomir::archive {

/// Numbered items, from 0 on, that several threads work on.
struct OrderedWork {
    std::size_t count = 0; ///< items
    unsigned workers = 1;  ///< threads at most, the caller's one included; at least 1
    /// Items that may be begun from the first unfinished one on. It limits what has to be undone
    /// after a failure. At least 1.
    std::size_t window = 1024;
};

/// One item, for the thread that works on it.
class OrderedItem {
public:
    OrderedItem(std::size_t number, unsigned worker, const std::atomic<std::size_t> &firstFailed)
        : number_(number), worker_(worker), firstFailed_(&firstFailed) {}

    [[nodiscard]] std::size_t number() const { return number_; }
    /// Which thread this is, from 0 on; 0 is the caller's. No two threads have the same number.
    [[nodiscard]] unsigned worker() const { return worker_; }
    /// False once an item in front of this one has failed. A long task may ask now and then and
    /// throw anything: its result will not be used.
    [[nodiscard]] bool isWanted() const { return number_ < *firstFailed_; }

private:
    std::size_t number_;
    unsigned worker_;
    const std::atomic<std::size_t> *firstFailed_;
};

/// What `runInOrder` has done. No task is running any more.
struct OrderedOutcome {
    /// What the first failed item, in the order of the items, threw; null if all items are done.
    std::exception_ptr failure;
    /// Its number; the count of items if none failed. All items in front of it are done.
    std::size_t failed = 0;
    /// Items from here on were not begun. Those between `failed` and this one were: each of them is
    /// done or has thrown, and is to be undone.
    std::size_t begun = 0;
};

/// How many threads such a number asks for: 0 is one a core, at most 8.
[[nodiscard]] unsigned threadCount(unsigned jobs);

/// Runs the task once for each item, on the caller's thread and on new ones, which have ended when
/// this returns. Items are begun in their order. When one fails, no other is begun, and those that
/// were begun in front of it are finished: if one of them fails, it is the first failed one
/// instead.
///
/// With one worker, or one item, this is a loop on the caller's thread. Where the system makes no
/// more threads, there are fewer workers. Throws nothing of its own but `std::bad_alloc`, before
/// the first item.
[[nodiscard]] OrderedOutcome runInOrder(const OrderedWork &work,
                                        const std::function<void(const OrderedItem &)> &task);

} // namespace vellomir::archive
