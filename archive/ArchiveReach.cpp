#include "archive/Archive.h"

#include "archive/DirectoryWindow.h"
#include "archive/EndRecords.h"
#include "archive/UnitCount.h"

namespace vellomir::archive {
namespace {

/// The number of directory records that follow the first `recordBytes` bytes. Counting stops at the
/// first bytes that are not a record, such as a digital signature, and at a read error.
std::uint64_t countRecordsAfter(const Archive &archive, std::uint64_t recordBytes,
                                const Archive::ProgressPointer &progress) {
    const std::uint64_t size = archive.sizeOfCentralDirectory();
    if (recordBytes >= size)
        return 0;
    DirectoryWindow window(archive.archiveFile(), size - recordBytes);
    const std::uint64_t start = archive.offsetToStartOfCentralDirectory();
    std::uint64_t count = 0;
    try {
        while (recordBytes < size) {
            const auto record = window.record(start + recordBytes);
            if (!record)
                break;
            ++count;
            recordBytes += record->totalSize();
            requireNotCancelled(progress);
        }
    } catch (const Error &error) {
        if (error.code() == Archive::ArchiveError::cancelledOperation)
            throw;
    }
    return count;
}

std::int64_t findDisplacement(const Archive &archive, const Archive::ProgressPointer &progress) {
    const auto scan = scanForEndOfCentralDirectoryRecord(archive.archiveFile(), progress.get());
    return scan.failure == EndRecordsScan::Failure::none ? scan.displacement() : 0;
}

} // namespace

Archive::Reach Archive::reach(const std::function<void(const Entry &)> &visit,
                              const ProgressPointer &progress) const {
    Reach reach{.promised = totalNumberOfEntriesInCentralDirectory()};
    std::uint64_t recordBytes = 0;
    auto walk = EntryIterator::forHeaders(*this);
    while (const auto entry = walk.next()) {
        requireNotCancelled(progress);
        if (visit)
            visit(*entry);
        ++reach.reached;
        recordBytes += entry->centralDirectoryStructure().totalSize();
    }
    reach.end = walk.end();
    if (reach.end == EntryIterator::End::complete)
        reach.uncounted = countRecordsAfter(*this, recordBytes, progress);
    try {
        reach.displacement = findDisplacement(*this, progress);
    } catch (const Error &error) {
        throw error.about({}, filePath());
    }
    return reach;
}

} // namespace vellomir::archive
