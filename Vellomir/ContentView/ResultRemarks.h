#pragma once

#include <cstdint>

namespace vellomir {

/// What the user must know of a package that a job has made.
struct ResultRemarks {
    /// It would replace the original where both are installed, instead of standing beside it.
    bool keepsIdentifier = false;
    /// Entries of the original's archive, by its end record, and how many of them could be read.
    /// Equal if the copy is complete.
    std::uint64_t promisedEntries = 0;
    std::uint64_t readEntries = 0;

    friend bool operator==(const ResultRemarks &, const ResultRemarks &) = default;
};

} // namespace vellomir
