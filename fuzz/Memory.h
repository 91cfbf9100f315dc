#pragma once

#include <cstddef>

namespace vellomir::fuzz {

/// Counts the memory that is taken between its making and a call of `peak`, on all threads. One at
/// a time.
class PeakMemory {
public:
    PeakMemory();
    PeakMemory(const PeakMemory &) = delete;
    PeakMemory &operator=(const PeakMemory &) = delete;
    ~PeakMemory();

    /// The most bytes that were in use at once, beyond those before.
    [[nodiscard]] std::size_t peak() const;
};

} // namespace vellomir::fuzz
