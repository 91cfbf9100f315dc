#pragma once

#include <cstdint>
#include <string>

namespace vellomir {

/// Facts about a new package that the user must know.
struct ResultRemarks {
    /// The copy has the identifier of the original: installing it replaces the original.
    bool keepsIdentifier = false;
    std::string identifier = {}; ///< of the copy; "" if it has none
    /// The number of entries by the original's end record, and how many of them were read. The copy
    /// is complete if they are equal.
    std::uint64_t promisedEntries = 0;
    std::uint64_t readEntries = 0;

    friend bool operator==(const ResultRemarks &, const ResultRemarks &) = default;
};

} // namespace vellomir
