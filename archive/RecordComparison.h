#pragma once

#include "archive/Records.h"
#include "archive/Verification.h"

#include <functional>
#include <optional>

namespace vellomir::archive {

/// Gets what is wrong with one entry.
using EntryReport =
    std::function<void(FindingKind kind, FindingValue expected, FindingValue found)>;

/// What an archive says of one entry, in its three places.
struct EntryRecords {
    CentralDirectoryStructure central;
    LocalFileHeader local;
    std::optional<DataDescriptor> descriptor;
    std::optional<ZIP64DataDescriptor> zip64Descriptor;

    /// Whether either record says that there is a descriptor.
    [[nodiscard]] bool usesDescriptor() const;
    /// Of the two ways to read the descriptor, keeps the one that the directory's record asks for,
    /// unless only the other one agrees with it: some writers declare less than they use.
    void chooseDescriptor();

    /// Where the stored bytes begin.
    [[nodiscard]] std::uint64_t dataOffset() const;
    /// Bytes of the descriptor, with or without a signature; 0 if there is none.
    [[nodiscard]] std::uint64_t descriptorSize() const;
};

/// Reports each value in which the local header or the data descriptor differs from the directory.
/// Sizes and checksum of a local header that leaves them to the descriptor may be 0.
void compareRecords(const EntryRecords &records, const EntryReport &report);

} // namespace vellomir::archive
