// Walking: the entries that the engine lists, one after the other and by their paths, from memory
// and from a file, are those that a second reader finds. Input: the archive's bytes.

#include "archive/Archive.h"
#include "fuzz/Directory.h"
#include "fuzz/FuzzedFile.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace vellomir::archive {

using fuzz::Directory;
using fuzz::Member;
using fuzz::numberAt;
using fuzz::require;

namespace {

using AccessMode = Archive::AccessMode;
using End = Archive::EntryIterator::End;

/// Finding a path walks over all entries again.
constexpr std::size_t maximumLookUps = 24;
constexpr std::size_t maximumMembers = 4096;

/// An archive, or why there is none.
struct Opened {
    std::unique_ptr<Archive> archive;
    std::string reason;
};

template <class Source>
Opened open(Source source) {
    try {
        return {Archive::open(std::move(source), AccessMode::read), {}};
    } catch (const Error &error) {
        require(error.code() == Archive::ArchiveError::unreadableArchive,
                "an archive that cannot be opened is an unreadable one");
        return {nullptr, error.context().detail};
    }
}

End expectedEnd(Directory::End end) {
    switch (end) {
    case Directory::End::complete:
        return End::complete;
    case Directory::End::damagedRecord:
        return End::damagedRecord;
    case Directory::End::damagedLocalHeader:
        return End::damagedLocalHeader;
    case Directory::End::encryptedEntry:
        return End::encryptedEntry;
    }
    return End::notYet;
}

void requireSameRecord(const Entry &entry, const Member &member) {
    const CentralDirectoryStructure &record = entry.centralDirectoryStructure();
    require(record.data() == Data(member.record), "the record has the bytes of the directory");
    require(entry.localFileHeader().data() == Data(member.localHeader),
            "the local header has the bytes of the archive");
    require(record.isZIP64() == member.isZIP64, "both readers agree on ZIP64");
    require(record.effectiveRelativeOffsetOfLocalHeader() == member.headerOffset &&
                record.effectiveCompressedSize() == member.storedSize &&
                record.effectiveUncompressedSize() == member.plainSize,
            "both readers find the same sizes and the same place");
}

void requireSameEntry(const Entry &entry, const Member &member) {
    requireSameRecord(entry, member);
    require(entry.checksum() == member.checksum, "both readers find the same checksum");
    require(entry.dataOffset() == member.dataOffset, "both readers find the data");
    require(entry.localSize() == member.localSize, "both readers find the same local size");
    require(entry.compressedSize() == member.compressedSize &&
                entry.uncompressedSize() == member.uncompressedSize,
            "both readers find the same sizes of the data");
    require(entry.isCompressed() == (member.localMethod != 0), "both readers see the compression");
}

/// The paths of all entries, which are those of the directory.
std::vector<std::string> walk(const Archive &archive, const Directory &directory) {
    require(archive.totalNumberOfEntriesInCentralDirectory() == directory.count &&
                archive.sizeOfCentralDirectory() == directory.size &&
                archive.offsetToStartOfCentralDirectory() == directory.offset,
            "both readers find the same directory");
    std::vector<std::string> paths;
    auto entries = archive.makeIterator();
    while (const auto entry = entries.next()) {
        require(paths.size() < directory.members.size(), "no entry is made up");
        requireSameEntry(*entry, directory.members[paths.size()]);
        paths.push_back(archive.path(*entry));
    }
    require(paths.size() == directory.members.size(), "no entry is left out");
    require(entries.end() == expectedEnd(directory.end), "both readers end for the same reason");
    return paths;
}

void requireRangeAgrees(const Archive &archive, const std::vector<std::string> &paths) {
    std::size_t count = 0;
    for (const Entry &entry : archive)
        require(archive.path(entry) == paths.at(count++), "a loop sees the same entries");
    require(count == paths.size(), "a loop sees all entries");
}

/// Each path finds the first entry that has it, and another one nothing.
void lookUp(const Archive &archive, const std::vector<std::string> &paths,
            const Directory &directory) {
    std::set<std::string> seen;
    for (std::size_t index = 0; index < paths.size() && seen.size() < maximumLookUps; ++index) {
        if (!seen.insert(paths[index]).second)
            continue;
        const auto entry = archive[paths[index]];
        require(entry.has_value(), "a listed path can be found");
        requireSameEntry(*entry, directory.members[index]);
        const std::string other = paths[index] + "/x";
        if (std::find(paths.begin(), paths.end(), other) == paths.end())
            require(!archive[other], "a path that is not listed is not found");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    static fuzz::FuzzedFile file;
    const auto input = std::as_bytes(std::span(bytes, size));
    file.fill(input);
    const Opened inMemory = open(Data(input));
    const Opened onDisk = open(URL::file(file.path()));
    const auto directory = fuzz::readDirectory(input, maximumMembers);
    require((inMemory.archive != nullptr) == directory.has_value(),
            "both readers accept the same archives");
    require((onDisk.archive != nullptr) == directory.has_value() &&
                inMemory.reason == onDisk.reason,
            "a file is accepted like the same bytes in memory");
    if (!directory)
        return 0;
    const auto paths = walk(*inMemory.archive, *directory);
    require(walk(*onDisk.archive, *directory) == paths, "a file has the same entries");
    requireRangeAgrees(*onDisk.archive, paths);
    lookUp(*inMemory.archive, paths, *directory);
    return 0;
}

} // namespace vellomir::archive
