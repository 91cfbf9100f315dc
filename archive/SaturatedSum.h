#pragma once

#include <cstdint>
#include <limits>

namespace vellomir::archive {

/// The sum, or the greatest value if it does not fit: a position that no file has.
template <class... Value>
[[nodiscard]] constexpr std::uint64_t saturatedSum(std::uint64_t first, Value... others) {
    std::uint64_t sum = first;
    const auto add = [&sum](std::uint64_t value) {
        if (__builtin_add_overflow(sum, value, &sum))
            sum = std::numeric_limits<std::uint64_t>::max();
    };
    (add(others), ...);
    return sum;
}

} // namespace vellomir::archive
