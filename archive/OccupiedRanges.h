#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace vellomir::archive {

/// The parts of a file that hold entries. Ranges that touch are kept as one, so that memory stays
/// flat for an archive without holes, whatever the order of its entries.
class OccupiedRanges {
public:
    /// False if part of the range was taken before; the range counts nevertheless.
    bool insert(std::uint64_t start, std::uint64_t end);
    /// Where the free parts before `end` start.
    [[nodiscard]] std::vector<std::uint64_t> gaps(std::uint64_t end) const;

private:
    std::map<std::uint64_t, std::uint64_t> ends_; ///< by where they start
};

} // namespace vellomir::archive
