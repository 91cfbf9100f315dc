#include "cli/Reach.h"

#include "cli/EntryText.h"

#include <cstdio>

namespace cli {
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

} // namespace

Reach findReach(const archive::Archive &archive,
                const std::function<void(const archive::Entry &)> &look) {
    auto walk = archive.makeIterator();
    std::uint64_t reached = 0;
    while (const auto entry = walk.next()) {
        look(*entry);
        ++reached;
    }
    return reachAfter(archive, walk, reached);
}

Reach reachAfter(const archive::Archive &archive, const archive::Archive::EntryIterator &walk,
                 std::uint64_t reached) {
    Reach reach{archive.totalNumberOfEntriesInCentralDirectory(), reached, walk.end(), 0};
    if (reach.end != End::complete && reach.end != End::encryptedEntry)
        reach.displacement = findDisplacement(archive);
    return reach;
}

std::int64_t displacementOf(const archive::EndRecordsScan &scan) {
    // The directory ends where the first of the end records starts.
    const std::uint64_t zip64Size = scan.records.zip64 ? scan.records.zip64->data().size() : 0;
    const std::uint64_t expectedEnd =
        scan.records.offsetToStartOfCentralDirectory() + scan.records.sizeOfCentralDirectory();
    return static_cast<std::int64_t>(scan.offset - zip64Size - expectedEnd);
}

std::int64_t findDisplacement(const archive::Archive &archive) {
    const archive::Archive::FilePointer file(
        archive.isMemory() ? archive::MemoryFile::make(archive.data().value())->open("rb")
                           : std::fopen(archive.url().path().c_str(), "rbe"));
    if (!file)
        return 0;
    const archive::EndRecordsScan scan = archive::scanForEndRecords(file.get());
    return scan.failure == archive::EndRecordsScan::Failure::none ? displacementOf(scan) : 0;
}

std::optional<std::string> shortfall(const Reach &reach) {
    if (reach.end == End::complete)
        return std::nullopt;
    return "the directory promises " + countText(reach.promised, "entry") + ", " +
           std::to_string(reach.reached) + " could be reached: " + reason(reach);
}

} // namespace cli
