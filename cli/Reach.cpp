#include "cli/Reach.h"

#include "cli/EntryText.h"
#include "cli/Interruption.h"

#include "archive/DirectoryWindow.h"

namespace vellomir::cli {
namespace {

using End = archive::Archive::EntryIterator::End;

std::string reason(const Reach &reach) {
    const std::string next = std::to_string(reach.reached + 1);
    if (reach.displacement > 0)
        return "something stands in front of the archive in its file (" +
               countText(static_cast<std::uint64_t>(reach.displacement), "byte") + ")";
    if (reach.displacement < 0)
        return "the directory does not fit in front of the end record";
    switch (reach.end) {
    case End::encryptedEntry:
        return "entry " + next + " is encrypted";
    case End::damagedLocalHeader:
        return "there is no local header where the directory's record " + next + " says";
    case End::damagedRecord:
        return "the directory's record " + next + " is damaged";
    case End::complete:
    case End::notYet:
        break;
    }
    return "the directory is shorter than that";
}

archive::Archive::FilePointer openAgain(const archive::Archive &archive) {
    return archive::Archive::FilePointer(
        archive.isMemory() ? archive::MemoryFile::make(archive.data().value())->open("rb")
                           : std::fopen(archive.url().path().c_str(), "rbe"));
}

/// Records of the directory behind its first `recordBytes` bytes; 0 if they cannot be read.
std::uint64_t countRecordsBehind(const archive::Archive &archive, std::uint64_t recordBytes) {
    using Record = archive::CentralDirectoryStructure;
    const std::uint64_t size = archive.sizeOfCentralDirectory();
    if (recordBytes >= size)
        return 0;
    const auto file = openAgain(archive);
    if (!file)
        return 0;
    archive::DirectoryWindow window(file.get(), size - recordBytes);
    const std::uint64_t start = archive.offsetToStartOfCentralDirectory();
    std::uint64_t count = 0;
    try {
        while (recordBytes < size) {
            const std::uint64_t position = start + recordBytes;
            const auto readTail = [&](std::size_t tailSize) {
                return window.bytes(position + Record::size, tailSize);
            };
            const auto record = Record::make(window.bytes(position, Record::size), readTail);
            if (!record)
                break;
            ++count;
            recordBytes += record->totalSize();
            Interruption::throwIfInterrupted();
        }
    } catch (const Error &) {
        // The rest is no directory.
    }
    return count;
}

} // namespace

Reach findReach(const archive::Archive &archive,
                const std::function<void(const archive::Entry &)> &look) {
    auto walk = archive.makeIterator();
    std::uint64_t reached = 0;
    std::uint64_t recordBytes = 0;
    while (const auto entry = walk.next()) {
        Interruption::throwIfInterrupted();
        look(*entry);
        ++reached;
        recordBytes += entry->centralDirectoryStructure().totalSize();
    }
    return reachAfter(archive, walk, reached, recordBytes);
}

Reach reachAfter(const archive::Archive &archive, const archive::Archive::EntryIterator &walk,
                 std::uint64_t reached, std::uint64_t recordBytes) {
    Reach reach{archive.totalNumberOfEntriesInCentralDirectory(), reached, walk.end()};
    if (reach.end == End::complete)
        reach.uncounted = countRecordsBehind(archive, recordBytes);
    else if (reach.end != End::complete && reach.end != End::encryptedEntry)
        reach.displacement = findDisplacement(archive);
    return reach;
}

std::int64_t findDisplacement(const archive::Archive &archive) {
    const auto scan = archive::scanForEndOfCentralDirectoryRecord(archive.archiveFile());
    return scan.failure == archive::EndRecordsScan::Failure::none ? scan.displacement() : 0;
}

std::optional<std::string> shortfall(const Reach &reach) {
    if (reach.end == End::complete && reach.uncounted == 0)
        return std::nullopt;
    if (reach.end == End::complete)
        return "the directory holds " + countText(reach.promised + reach.uncounted, "entry") +
               ", " + std::to_string(reach.reached) +
               " could be reached: the end record counts no more";
    return "the directory promises " + countText(reach.promised, "entry") + ", " +
           std::to_string(reach.reached) + " could be reached: " + reason(reach);
}

} // namespace vellomir::cli
