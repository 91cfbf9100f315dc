#pragma once

#include "archive/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace vellomir::cli {

/// What an archive says of one entry, in its three places.
struct EntryRecords {
    archive::CentralDirectoryStructure central;
    archive::LocalFileHeader local;
    std::optional<archive::DataDescriptor> descriptor;
    std::optional<archive::ZIP64DataDescriptor> zip64Descriptor;

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

/// A sentence for each value in which the local header or the data descriptor differs from the
/// directory. Sizes and checksum of a local header that leaves them to the descriptor may be 0.
[[nodiscard]] std::vector<std::string> differences(const EntryRecords &records);

} // namespace vellomir::cli
