#pragma once

#include "archive/Archive.h"
#include "archive/EndRecords.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// How much of an archive can be reached through its directory.
namespace vellomir::cli {

struct Reach {
    std::uint64_t promised = 0; ///< entries, by the end record
    std::uint64_t reached = 0;
    archive::Archive::EntryIterator::End end = archive::Archive::EntryIterator::End::complete;
    /// Records of the directory behind those that the end record counts.
    std::uint64_t uncounted = 0;
    /// Bytes between where the directory should begin and where it does; 0 as a rule.
    std::int64_t displacement = 0;
};

/// Walks the whole directory, and shows each entry to `look`. Throws `Interrupted` between two
/// entries.
[[nodiscard]] Reach findReach(
    const archive::Archive &archive,
    const std::function<void(const archive::Entry &)> &look = [](const archive::Entry &) {});
/// After a walk that is over; `reached` entries came of it, whose records in the directory have
/// `recordBytes` in all.
[[nodiscard]] Reach reachAfter(const archive::Archive &archive,
                               const archive::Archive::EntryIterator &walk, std::uint64_t reached,
                               std::uint64_t recordBytes);

/// Bytes in front of the archive in its file: by how much the directory lies behind the place that
/// the end record gives for it. Negative if bytes are missing.
[[nodiscard]] std::int64_t findDisplacement(const archive::Archive &archive);

/// What is missing; nothing if every entry was reached. "the directory promises 3 entries, 1 could
/// be reached: entry 2 is encrypted"
[[nodiscard]] std::optional<std::string> shortfall(const Reach &reach);

} // namespace vellomir::cli
