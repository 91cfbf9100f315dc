#pragma once

#include "archive/EntryIterator.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>
#include <vector>

namespace vellomir::archive {

/// Finds the entries of an archive by their paths. The directory is walked once and not for every
/// path, as `archive[path]` does. 16 bytes of memory an entry.
///
/// The archive must outlive the index. After the archive has changed, the next look-up walks the
/// new directory. It moves the archive's stream: one thread.
class PathIndex {
public:
    /// Walks the directory. Throws `DataError::unreadableFile`.
    explicit PathIndex(const Archive &archive);

    /// The first entry, in the directory's order, with exactly this path, as the archive decodes
    /// it; nothing if the archive has none. If it has none as far as its directory can be read, but
    /// the walk ended early, `unreadableArchive` is thrown with the reason: the path may be behind
    /// that place.
    [[nodiscard]] std::optional<Entry> operator[](std::string_view path);

private:
    struct Place {
        std::size_t hash;       ///< of the path
        std::uint64_t position; ///< of the record in the directory
        friend bool operator<(const Place &left, const Place &right) {
            return std::tie(left.hash, left.position) < std::tie(right.hash, right.position);
        }
    };

    void build();
    [[nodiscard]] Entry entryAt(std::uint64_t position);

    const Archive *archive_;
    /// Of the archive when the index was built.
    std::uint64_t changeCount_ = 0;
    /// Has walked the whole directory, and knows why it ended.
    EntryIterator walk_;
    EntryIterator reader_;
    std::vector<Place> places_;
};

} // namespace vellomir::archive
