#pragma once

#include "archive/Date.h"
#include "archive/Records.h"
#include "archive/TextEncoding.h"

#include <optional>
#include <string>

#ifdef unix // a macro of compilers in GNU mode, and the name of a host below
#undef unix
#endif

namespace archive {

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
    enum class EntryError { invalidDataError = 1 };

    /// The type that a POSIX mode word stands for.
    [[nodiscard]] static EntryType entryType(std::uint32_t mode);
    /// Nothing for a host that the engine does not know.
    [[nodiscard]] static std::optional<OSType> osType(unsigned rawValue);

    /// Nothing for an encrypted entry.
    [[nodiscard]] static std::optional<Entry>
    make(CentralDirectoryStructure centralDirectoryStructure, LocalFileHeader localFileHeader,
         std::optional<DataDescriptor> dataDescriptor,
         std::optional<ZIP64DataDescriptor> zip64DataDescriptor);

    /// As the central directory names it; "" if the bytes are not valid in the encoding.
    [[nodiscard]] std::string path(TextEncoding encoding) const;
    /// In UTF-8 where the entry says so, else in code page 437.
    [[nodiscard]] std::string path() const;
    /// With the encoding where one is given.
    [[nodiscard]] std::string path(std::optional<TextEncoding> preferredEncoding) const;

    [[nodiscard]] EntryType type() const;
    /// By the local header's method, which is the one that extraction goes by.
    [[nodiscard]] bool isCompressed() const { return localFileHeader_.compressionMethod != 0; }
    [[nodiscard]] CRC32 checksum() const;
    [[nodiscard]] std::uint64_t compressedSize() const;
    [[nodiscard]] std::uint64_t uncompressedSize() const;
    /// Where the stored bytes begin, from the start of the archive.
    [[nodiscard]] std::uint64_t dataOffset() const;
    /// Bytes in the data area: header, data and descriptor; the greatest value if they are more.
    [[nodiscard]] std::uint64_t localSize() const;
    [[nodiscard]] FileAttributes fileAttributes() const;

    [[nodiscard]] const CentralDirectoryStructure &centralDirectoryStructure() const {
        return centralDirectoryStructure_;
    }
    [[nodiscard]] const LocalFileHeader &localFileHeader() const { return localFileHeader_; }
    [[nodiscard]] const std::optional<DataDescriptor> &dataDescriptor() const {
        return dataDescriptor_;
    }
    [[nodiscard]] const std::optional<ZIP64DataDescriptor> &zip64DataDescriptor() const {
        return zip64DataDescriptor_;
    }

    /// Same path, same checksum in the local header, same place.
    friend bool operator==(const Entry &left, const Entry &right);

private:
    Entry() = default;

    CentralDirectoryStructure centralDirectoryStructure_;
    LocalFileHeader localFileHeader_;
    std::optional<DataDescriptor> dataDescriptor_;
    std::optional<ZIP64DataDescriptor> zip64DataDescriptor_;
};

[[nodiscard]] std::error_code make_error_code(Entry::EntryError error);

} // namespace archive

template <>
struct std::is_error_code_enum<archive::Entry::EntryError> : std::true_type {};
