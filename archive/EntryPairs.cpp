#include "archive/EntryPairs.h"

#include "archive/EntryTable.h"

#include <algorithm>

namespace vellomir::archive {

EntryPairs pairEntries(const EntryTable &first, const EntryTable &second) {
    EntryPairs pairs{std::vector<std::size_t>(first.size(), EntryPairs::none), {}};
    const auto ours = first.sortedByPath();
    const auto theirs = second.sortedByPath();
    auto our = ours.begin();
    auto their = theirs.begin();
    while (our != ours.end() && their != theirs.end()) {
        const int order = first.path(*our).compare(second.path(*their));
        if (order == 0)
            pairs.counterparts[*our] = *their;
        else if (order > 0)
            pairs.added.push_back(*their);
        our += order <= 0 ? 1 : 0;
        their += order >= 0 ? 1 : 0;
    }
    pairs.added.insert(pairs.added.end(), their, theirs.end());
    std::sort(pairs.added.begin(), pairs.added.end());
    return pairs;
}

/// All but a longest increasing subsequence of the counterparts.
std::vector<bool> movedEntries(const std::vector<std::size_t> &counterparts) {
    std::vector<bool> isMoved(counterparts.size(), false);
    // ends[n]: the entry with the smallest counterpart that n others lead up to.
    std::vector<std::size_t> ends;
    std::vector<std::size_t> predecessors(counterparts.size(), EntryPairs::none);
    for (std::size_t entry = 0; entry < counterparts.size(); ++entry) {
        if (counterparts[entry] == EntryPairs::none)
            continue;
        isMoved[entry] = true;
        const auto end = std::lower_bound(ends.begin(), ends.end(), counterparts[entry],
                                          [&](std::size_t each, std::size_t counterpart) {
                                              return counterparts[each] < counterpart;
                                          });
        if (end != ends.begin())
            predecessors[entry] = *std::prev(end);
        if (end == ends.end())
            ends.push_back(entry);
        else
            *end = entry;
    }
    std::size_t entry = ends.empty() ? EntryPairs::none : ends.back();
    for (; entry != EntryPairs::none; entry = predecessors[entry])
        isMoved[entry] = false;
    return isMoved;
}

} // namespace vellomir::archive
