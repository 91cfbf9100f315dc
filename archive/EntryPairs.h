#pragma once

#include <cstddef>
#include <limits>
#include <vector>

namespace vellomir::archive {

class EntryTable;

/// Which entries of two archives belong together. Entries are indexes of their tables.
struct EntryPairs {
    /// What an entry without a counterpart has.
    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

    std::vector<std::size_t> counterparts; ///< in the second archive, of each entry of the first
    std::vector<std::size_t> added;        ///< without a counterpart, in the second; ascending
};

/// Pairs entries of one path in the order in which they occur. As fast as sorting.
[[nodiscard]] EntryPairs pairEntries(const EntryTable &first, const EntryTable &second);

/// The entries of the first archive that are elsewhere among the pairs of the second; as few as
/// possible: without them, the order is the same. As fast as sorting.
[[nodiscard]] std::vector<bool> movedEntries(const std::vector<std::size_t> &counterparts);

} // namespace vellomir::archive
