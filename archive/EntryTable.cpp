#include "archive/EntryTable.h"

#include "archive/UnitCount.h"

#include <algorithm>
#include <numeric>

namespace vellomir::archive {
namespace {

/// Throws if the directory holds records after those that the end record counts.
void requireAllCounted(const Archive &archive, std::uint64_t recordBytes,
                       const ProgressPointer &progress) {
    if (recordBytes >= archive.sizeOfCentralDirectory())
        return;
    const Archive::Reach reach = archive.reach(nullptr, progress);
    if (reach.uncounted != 0)
        throw Error(
            ArchiveError::unreadableArchive,
            {.path = archive.isMemory() ? "" : archive.url().path(),
             .detail = "The directory holds " + std::to_string(reach.reached + reach.uncounted) +
                       " entries, but the end record counts " + std::to_string(reach.promised)});
}

} // namespace

EntryTable::EntryTable(const Archive &archive, const ProgressPointer &progress) {
    std::uint64_t recordBytes = 0;
    EntryIterator walk = archive.makeIterator();
    while (const auto entry = walk.next()) {
        requireNotCancelled(progress);
        add(archive, *entry);
        recordBytes += entry->centralDirectoryStructure().totalSize();
    }
    walk.requireComplete();
    requireAllCounted(archive, recordBytes, progress);
}

void EntryTable::add(const Archive &archive, const Entry &entry) {
    const CentralDirectoryStructure &record = entry.centralDirectoryStructure();
    const std::string path = archive.path(entry);
    paths_->append(path.empty() ? record.fileNameData.text() : std::string_view(path));
    const FileAttributes attributes = entry.fileAttributes();
    const std::uint64_t size = record.effectiveUncompressedSize();
    facts_.push_back({.pathEnd = paths_->size(),
                      .dataOffset = entry.dataOffset(),
                      .storedSize = entry.isCompressed() ? record.effectiveCompressedSize() : size,
                      .size = size,
                      .date = attributes.modificationDate,
                      .checksum = entry.checksum(),
                      .type = entry.type(),
                      .permissions = attributes.posixPermissions,
                      .method = record.compressionMethod,
                      .dataMethod = entry.localFileHeader().compressionMethod});
}

std::string_view EntryTable::path(std::size_t index) const {
    const std::uint64_t start = index == 0 ? 0 : facts_[index - 1].pathEnd;
    return std::string_view(*paths_).substr(start, facts_[index].pathEnd - start);
}

std::vector<std::size_t> EntryTable::sortedByPath() const {
    std::vector<std::size_t> indexes(size());
    std::iota(indexes.begin(), indexes.end(), std::size_t{0});
    std::sort(indexes.begin(), indexes.end(), [this](std::size_t left, std::size_t right) {
        const int order = path(left).compare(path(right));
        return order != 0 ? order < 0 : left < right;
    });
    return indexes;
}

} // namespace vellomir::archive
