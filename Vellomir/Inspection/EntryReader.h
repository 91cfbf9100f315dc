#pragma once

#include "Vellomir/Inspection/ByteRange.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "archive/Archive.h"
#include "archive/PathIndex.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vellomir {

/// Reads entries of a package by their paths, as far as they are needed, within limits that hold
/// for the package as a whole. It moves the archive's stream: one thread.
///
/// All functions throw with the archive's path and the entry: `InspectionError::unreadableItem` if
/// the entry is missing, no file or too large, what the engine throws for damaged data, and
/// `ArchiveError::cancelledOperation`.
class EntryReader {
public:
    /// All property lists and profiles of a package together may have so many bytes.
    static constexpr std::uint64_t maximumListBytes = 64 << 20;
    /// So many bytes of code signatures are read of all programs of a package.
    static constexpr std::uint64_t maximumSignatureBytes = 64 << 20;
    /// So many bytes of deflated programs are inflated.
    static constexpr std::uint64_t maximumInflatedBytes = std::uint64_t{16} << 30;

    /// Walks the directory. The archive must outlive the reader; `progress` may be null.
    EntryReader(const archive::Archive &archive, archive::ProgressPointer progress)
        : archive_(archive), index_(archive), progress_(std::move(progress)) {}

    /// Whether there is an entry with this path.
    [[nodiscard]] bool has(const std::string &path);
    /// The data of a small file, whose checksum is right: at most `PropertyList::maximumSize`
    /// bytes.
    [[nodiscard]] archive::Data data(const std::string &path);
    /// The property list of a small file.
    [[nodiscard]] PropertyList list(const std::string &path);
    /// The texts of a small file that is in a folder *.lproj of this name; a file without texts is
    /// an empty list.
    [[nodiscard]] PropertyList texts(const std::string &path, std::string_view language);

    /// The size of a file's data, and a function that reads parts of it; checksums are not
    /// compared. Stored data is read where it is needed, deflated data up to the end of the last
    /// part. The function is valid as long as the reader.
    struct File {
        std::uint64_t size = 0;
        ReadRanges read;
    };
    [[nodiscard]] File file(const std::string &path);

    /// How many bytes of signatures may still be read; the caller takes off what it reads.
    [[nodiscard]] std::uint64_t &signatureBytesLeft() { return signatureBytesLeft_; }

private:
    [[nodiscard]] std::optional<archive::Entry> find(const std::string &path);
    [[nodiscard]] archive::Entry require(const std::string &path);
    [[nodiscard]] Error about(const Error &error, const std::string &path) const;
    [[nodiscard]] std::vector<archive::Data> readStored(const archive::Entry &entry,
                                                        std::span<const ByteRange> ranges) const;
    [[nodiscard]] std::vector<archive::Data> inflate(const archive::Entry &entry,
                                                     std::span<const ByteRange> ranges);
    [[nodiscard]] archive::ProgressPointer cancellation() const;

    const archive::Archive &archive_;
    archive::PathIndex index_;
    archive::ProgressPointer progress_;
    std::uint64_t listBytesLeft_ = maximumListBytes;
    std::uint64_t signatureBytesLeft_ = maximumSignatureBytes;
    std::uint64_t inflatedBytesLeft_ = maximumInflatedBytes;
};

} // namespace vellomir
