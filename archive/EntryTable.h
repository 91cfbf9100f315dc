#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir::archive {

/// What the comparison needs of one entry.
struct EntryFacts {
    std::uint64_t pathEnd = 0;    ///< in the text of all paths; it starts where the last one ends
    std::uint64_t dataOffset = 0; ///< from the start of the archive
    std::uint64_t storedSize = 0; ///< bytes in the archive
    std::uint64_t size = 0;       ///< bytes of the data, by the directory
    Date date;
    CRC32 checksum = 0;
    Entry::EntryType type = Entry::EntryType::file;
    std::uint16_t permissions = 0;
    std::uint16_t method = 0;     ///< by the directory
    std::uint16_t dataMethod = 0; ///< by the local header: what the data is read by
};

/// All entries of an archive in the directory's order, without the records.
class EntryTable {
public:
    /// Walks the directory. Throws `unreadableArchive` if it does not lead to all entries,
    /// `DataError::unreadableFile`, and `cancelledOperation` before the next entry.
    EntryTable(const Archive &archive, const ProgressPointer &progress);

    [[nodiscard]] std::size_t size() const { return facts_.size(); }
    [[nodiscard]] const EntryFacts &operator[](std::size_t index) const { return facts_[index]; }
    /// As the archive decodes it, else the raw bytes of the name. Valid as long as `paths()`.
    [[nodiscard]] std::string_view path(std::size_t index) const;
    /// The indexes of the entries, sorted by path; entries of one path stay in their order.
    [[nodiscard]] std::vector<std::size_t> sortedByPath() const;
    /// The owner of the text of all paths.
    [[nodiscard]] std::shared_ptr<const void> paths() const { return paths_; }

private:
    void add(const Archive &archive, const Entry &entry);

    std::shared_ptr<std::string> paths_ = std::make_shared<std::string>();
    std::vector<EntryFacts> facts_;
};

} // namespace vellomir::archive
