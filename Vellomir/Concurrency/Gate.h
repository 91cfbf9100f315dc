#pragma once

#include "Vellomir/Concurrency/Queue.h"

#include <utility>
#include <vector>

namespace vellomir {

/// Tasks that wait until something is finished, such as the reading of a file. Open at first. Main
/// thread only.
class Gate {
public:
    [[nodiscard]] bool isOpen() const { return isOpen_; }

    void close() { isOpen_ = false; }

    /// Runs the waiting tasks, in their order. If one closes the gate, the tasks behind it wait
    /// again.
    void open() {
        isOpen_ = true;
        for (Task &task : std::exchange(waiting_, {}))
            whenOpen(std::move(task));
    }

    /// Runs the task now if the gate is open, otherwise when it opens.
    void whenOpen(Task task) {
        if (isOpen_)
            task();
        else
            waiting_.push_back(std::move(task));
    }

private:
    bool isOpen_ = true;
    std::vector<Task> waiting_;
};

} // namespace vellomir
