#include "archive/OccupiedRanges.h"

#include <algorithm>
#include <iterator>

namespace vellomir::archive {

bool OccupiedRanges::insert(std::uint64_t start, std::uint64_t end) {
    bool isFree = true;
    auto next = ends_.upper_bound(start);
    if (next != ends_.begin() && std::prev(next)->second >= start)
        --next;
    while (next != ends_.end() && next->first <= end) {
        isFree = isFree && (next->second <= start || next->first >= end);
        start = std::min(start, next->first);
        end = std::max(end, next->second);
        next = ends_.erase(next);
    }
    ends_.emplace(start, end);
    return isFree;
}

std::vector<std::uint64_t> OccupiedRanges::gaps(std::uint64_t end) const {
    std::vector<std::uint64_t> starts;
    std::uint64_t position = 0;
    for (const auto &[rangeStart, rangeEnd] : ends_) {
        if (rangeStart > position && position < end)
            starts.push_back(position);
        position = rangeEnd;
    }
    if (position < end)
        starts.push_back(position);
    return starts;
}

} // namespace vellomir::archive
