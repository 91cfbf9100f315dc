#pragma once

#include "archive/Verification.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vellomir::archive {

/// The paths of an archive's entries as extraction would make them, to find those that it would
/// refuse. Takes about 100 bytes for each name in a path that no earlier path had.
class EntryPaths {
public:
    /// Bytes of the longest name in a path that a file can have.
    static constexpr std::uint64_t maxNameSize = NAME_MAX;

    /// Returns what is wrong with the next entry's path: by itself, or because of an earlier entry.
    [[nodiscard]] std::optional<FindingKind> add(std::string_view path, Entry::EntryType type);

private:
    using Id = std::uint32_t;
    static constexpr Id root = 0;

    struct Place {
        Id parent;
        std::string name;
        friend bool operator==(const Place &, const Place &) = default;
    };
    struct Hash {
        std::size_t operator()(const Place &place) const;
    };
    struct Item {
        Id id;
        bool isFolder;
    };

    /// The item there, which is made if there is none.
    std::pair<Item, bool> findOrMake(Id parent, std::string_view name, bool isFolder);

    std::unordered_map<Place, Item, Hash> items_;
};

} // namespace vellomir::archive
