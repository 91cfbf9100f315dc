#pragma once

#include "archive/Archive.h"

#include <algorithm>
#include <cstdint>

namespace vellomir::fuzz {

/// Entries, then the directory of just these entries, then the end records with their count, and
/// nothing else.
inline bool hasUsualLayout(const archive::Archive &archive, const archive::Data &bytes) {
    const std::uint64_t size = bytes.size();
    const std::uint64_t start = archive.offsetToStartOfCentralDirectory();
    const std::uint64_t end =
        archive.endOfCentralDirectoryRecord().data().size() +
        (archive.zip64EndOfCentralDirectory() ? archive.zip64EndOfCentralDirectory()->data().size()
                                              : 0);
    if (start > size || archive.sizeOfCentralDirectory() != size - start - end)
        return false;
    // The end record that was found may be further in front, with other bytes behind it.
    const archive::Data endRecord = archive.endOfCentralDirectoryRecord().data();
    if (archive::Data(bytes.bytes().last(endRecord.size())) != endRecord)
        return false;
    std::uint64_t directorySize = 0;
    std::uint64_t count = 0;
    for (const archive::Entry &entry : archive) {
        const archive::CentralDirectoryStructure &structure = entry.centralDirectoryStructure();
        const std::uint64_t header = structure.effectiveRelativeOffsetOfLocalHeader();
        if (header > start || entry.localSize() > start - header)
            return false;
        // A link is as long as its local header says.
        if (entry.localFileHeader().compressedSize > start - std::min(start, entry.dataOffset()))
            return false;
        directorySize += structure.totalSize();
        ++count;
    }
    return directorySize == archive.sizeOfCentralDirectory() &&
           count == archive.totalNumberOfEntriesInCentralDirectory();
}

} // namespace vellomir::fuzz
