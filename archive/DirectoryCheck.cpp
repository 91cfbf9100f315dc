#include "archive/DirectoryCheck.h"

#include "archive/Error.h"

#include <algorithm>
#include <string>

namespace vellomir::archive {
namespace {

using ArchiveError = Archive::ArchiveError;

EndRecordsScan requireUnchanged(std::FILE *file, const EndRecords &known) {
    EndRecordsScan scan = scanForEndOfCentralDirectoryRecord(file);
    if (scan.failure != EndRecordsScan::Failure::none || scan.records != known)
        throw Error(ArchiveError::unreadableArchive,
                    {.detail = "The archive is no longer as it was opened: another program, or an "
                               "addition that failed, has changed it"});
    return scan;
}

/// What a walk over the records found.
struct Walk {
    std::uint64_t count = 0;           ///< whole records
    std::size_t size = 0;              ///< their bytes
    std::uint64_t lastLocalHeader = 0; ///< the highest offset that a record gives
};

Walk walkRecords(std::span<const std::byte> bytes) {
    Walk walk;
    for (;;) {
        const auto rest = bytes.subspan(walk.size);
        if (rest.size() < CentralDirectoryStructure::size)
            return walk;
        const auto tail = [&](std::size_t size) {
            const auto behind = rest.subspan(CentralDirectoryStructure::size);
            return behind.first(std::min(size, behind.size()));
        };
        const auto record =
            CentralDirectoryStructure::make(rest.first(CentralDirectoryStructure::size), tail);
        if (!record)
            return walk;
        ++walk.count;
        walk.size += record->totalSize();
        walk.lastLocalHeader =
            std::max(walk.lastLocalHeader, record->effectiveRelativeOffsetOfLocalHeader());
    }
}

std::string bytesText(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

/// Why the walk ended too early.
Error damagedRecord(const Walk &walk, std::int64_t displacement, bool isThere) {
    if (displacement > 0 && !isThere)
        return Error(ArchiveError::invalidCentralDirectoryOffset,
                     {.detail = "The directory is not where the end record says: something stands "
                                "in front of the archive in its file (" +
                                bytesText(static_cast<std::uint64_t>(displacement)) + ")"});
    return Error(ArchiveError::invalidCentralDirectoryEntryCount,
                 {.detail = "The directory's record " + std::to_string(walk.count + 1) +
                            " is damaged or missing"});
}

Error wrongCount(std::uint64_t found, std::uint64_t promised) {
    return Error(ArchiveError::invalidCentralDirectoryEntryCount,
                 {.detail = "The end record counts " + std::to_string(promised) +
                            " entries, but the directory holds " + std::to_string(found)});
}

/// More records may be behind the promised ones only if they are the directory once more: so
/// leaves it a cancelled addition.
void requireEndOfDirectory(const Data &directory, std::FILE *file, const EndRecords &known) {
    const std::uint64_t end =
        known.offsetToStartOfCentralDirectory() + known.sizeOfCentralDirectory();
    if (!Data::readRecord<CentralDirectoryStructure>(file, end))
        return;
    if (!Data::seek(file, end) || Data::readChunk(directory.size(), file) != directory)
        throw Error(ArchiveError::invalidCentralDirectorySize,
                    {.detail = "The directory goes on behind its end in the end record"});
}

} // namespace

Data readCentralDirectory(std::FILE *file, const EndRecords &known) {
    const EndRecordsScan scan = requireUnchanged(file, known);
    const std::uint64_t size = known.sizeOfCentralDirectory();
    const std::uint64_t offset = known.offsetToStartOfCentralDirectory();
    if (offset > scan.offset || size > scan.offset - offset || scan.displacement() < 0)
        throw Error(ArchiveError::invalidCentralDirectorySize,
                    {.detail = "The directory that the end record gives does not fit in front of "
                               "it"});
    if (!Data::seek(file, offset))
        throw Error(ArchiveError::invalidCentralDirectoryOffset);
    Data directory = Data::readChunk(size, file);
    if (directory.size() != size)
        throw Error(ArchiveError::invalidCentralDirectorySize);
    return directory;
}

void requireSoundDirectory(const Data &directory, std::FILE *file, const EndRecords &known) {
    const Walk walk = walkRecords(directory);
    const std::uint64_t promised = known.numberOfEntries();
    const std::int64_t displacement = scanForEndOfCentralDirectoryRecord(file).displacement();
    const bool isThere =
        Data::readRecord<CentralDirectoryStructure>(file, known.offsetToStartOfCentralDirectory())
            .has_value();
    if (walk.count < promised)
        throw walk.size == directory.size() && walk.count > 0
            ? wrongCount(walk.count, promised)
            : damagedRecord(walk, displacement, isThere);
    if (walk.count > promised)
        throw wrongCount(walk.count, promised);
    if (walk.size != directory.size())
        throw Error(ArchiveError::invalidCentralDirectorySize,
                    {.detail = "The directory's records take " + bytesText(walk.size) +
                               ", not the " + std::to_string(directory.size()) +
                               " that the end record gives"});
    if (promised > 0 && walk.lastLocalHeader >= known.offsetToStartOfCentralDirectory())
        throw Error(ArchiveError::invalidCentralDirectoryOffset,
                    {.detail = "An entry lies behind the directory"});
    if (promised == 0 && displacement != 0)
        throw Error(ArchiveError::invalidCentralDirectoryOffset,
                    {.detail = "The directory is not where the end record says"});
    requireEndOfDirectory(directory, file, known);
}

} // namespace vellomir::archive
