#pragma once

#include "archive/Date.h"
#include "archive/Error.h"
#include "archive/Records.h"
#include "archive/TextEncoding.h"

#include <optional>
#include <string>
#include <utility>

// A macro of compilers in GNU mode, and the name of a host below.
#pragma push_macro("unix")
#undef unix

namespace vellomir::archive {

/// What extraction applies to an item on disk.
struct FileAttributes {
    std::uint16_t posixPermissions = 0;
    Date modificationDate;

    friend bool operator==(const FileAttributes &, const FileAttributes &) = default;
};

/// One member of an archive as it was found: a read-only value that does not need the archive any
/// longer.
class Entry {
public:
    using LocalFileHeader = archive::LocalFileHeader;
    using CentralDirectoryStructure = archive::CentralDirectoryStructure;
    using DataDescriptor = archive::DataDescriptor;
    using ZIP64DataDescriptor = archive::ZIP64DataDescriptor;
    using ZIP64ExtendedInformation = archive::ZIP64ExtendedInformation;

    enum class EntryType : int { file = 0, directory = 1, symlink = 2 };
    /// The host that made the entry (APPNOTE.TXT, section 4.4.2).
    enum class OSType : unsigned { msdos = 0, unix = 3, osx = 19, unused = 20 };
    using EntryError = archive::EntryError;

    /// The type that a POSIX mode word means.
    [[nodiscard]] static EntryType entryType(std::uint32_t mode);
    /// Nothing for a host that the engine does not know.
    [[nodiscard]] static std::optional<OSType> osType(unsigned rawValue);

    /// Nothing for an encrypted entry. `preferredEncoding` is the archive's, for `pathAsRead`.
    [[nodiscard]] static std::optional<Entry>
    make(CentralDirectoryStructure centralDirectoryStructure, LocalFileHeader localFileHeader,
         std::optional<DataDescriptor> dataDescriptor,
         std::optional<ZIP64DataDescriptor> zip64DataDescriptor,
         std::optional<TextEncoding> preferredEncoding = std::nullopt);

    /// As the central directory names it; "" if the bytes are not valid in the encoding.
    [[nodiscard]] std::string path(TextEncoding encoding) const;
    /// In UTF-8 where the entry says so, else in code page 437; also if the archive was opened with
    /// a preferred encoding.
    [[nodiscard]] std::string path() const;
    /// As the archive that the entry was read from decodes it, with its preferred encoding:
    /// `archive[entry.pathAsRead()]` finds the entry, or the first one of the same path.
    [[nodiscard]] std::string pathAsRead() const { return path(preferredEncoding_); }
    /// With the encoding where one is given.
    [[nodiscard]] std::string path(std::optional<TextEncoding> preferredEncoding) const;

    /// By the mode word of hosts that write one, else by the path's "/" and the DOS attributes.
    [[nodiscard]] EntryType type() const;
    /// By the local header's method, which is the one that extraction goes by.
    [[nodiscard]] bool isCompressed() const { return localFileHeader_.compressionMethod != 0; }
    /// What the archive promises; by the data descriptor where the entry uses one, and 0 if that
    /// cannot be read.
    [[nodiscard]] CRC32 checksum() const;
    /// Bytes in the archive; by the data descriptor where there is one.
    [[nodiscard]] std::uint64_t compressedSize() const;
    /// Bytes of the data; by the data descriptor where there is one. The archive's word, not to be
    /// relied on for memory.
    [[nodiscard]] std::uint64_t uncompressedSize() const;
    /// Where the stored bytes begin, from the start of the archive; the greatest value if the
    /// position does not fit.
    [[nodiscard]] std::uint64_t dataOffset() const;
    /// Bytes in the data area: header, data and descriptor; the greatest value if they are more.
    [[nodiscard]] std::uint64_t localSize() const;
    /// What extraction applies; the defaults where the entry says nothing.
    [[nodiscard]] FileAttributes fileAttributes() const;

    /// The record in the archive's directory.
    [[nodiscard]] const CentralDirectoryStructure &centralDirectoryStructure() const & {
        return centralDirectoryStructure_;
    }
    [[nodiscard]] CentralDirectoryStructure centralDirectoryStructure() && {
        return std::move(centralDirectoryStructure_);
    }
    /// The record before the data.
    [[nodiscard]] const LocalFileHeader &localFileHeader() const & { return localFileHeader_; }
    [[nodiscard]] LocalFileHeader localFileHeader() && { return std::move(localFileHeader_); }
    /// The record behind the data: nothing if the entry does without, or if its sizes are 64 bits
    /// wide.
    [[nodiscard]] const std::optional<DataDescriptor> &dataDescriptor() const & {
        return dataDescriptor_;
    }
    [[nodiscard]] std::optional<DataDescriptor> dataDescriptor() && {
        return std::move(dataDescriptor_);
    }
    /// The same with sizes of 64 bits, for ZIP64 entries only.
    [[nodiscard]] const std::optional<ZIP64DataDescriptor> &zip64DataDescriptor() const & {
        return zip64DataDescriptor_;
    }
    [[nodiscard]] std::optional<ZIP64DataDescriptor> zip64DataDescriptor() && {
        return std::move(zip64DataDescriptor_);
    }

    /// Same path, same checksum in the local header, same place.
    friend bool operator==(const Entry &left, const Entry &right);

private:
    Entry() = default;

    CentralDirectoryStructure centralDirectoryStructure_;
    LocalFileHeader localFileHeader_;
    std::optional<DataDescriptor> dataDescriptor_;
    std::optional<ZIP64DataDescriptor> zip64DataDescriptor_;
    std::optional<TextEncoding> preferredEncoding_;
};

} // namespace vellomir::archive

#pragma pop_macro("unix")
