#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vellomir::cli {

/// Collects names that are not marked as UTF-8 but are valid UTF-8 beyond ASCII. Many packers write
/// such names; read in code page 437, they come out wrong.
class UnmarkedNames {
public:
    void look(const archive::Entry &entry);

    /// What to warn of; nothing if there was no such name.
    [[nodiscard]] std::optional<std::string> warning() const;

private:
    std::uint64_t count_ = 0;
    std::string first_;
};

} // namespace vellomir::cli
