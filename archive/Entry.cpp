#include "archive/Entry.h"

#include "archive/EntryAttributes.h"
#include "archive/SaturatedSum.h"

#include <sys/stat.h>

namespace vellomir::archive {

Entry::EntryType Entry::entryType(std::uint32_t mode) {
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return EntryType::directory;
    case S_IFLNK:
        return EntryType::symlink;
    default:
        return EntryType::file;
    }
}

std::optional<Entry::OSType> Entry::osType(unsigned rawValue) {
    switch (rawValue) {
    case 0:
        return OSType::msdos;
    case 3:
        return OSType::unix;
    case 19:
        return OSType::osx;
    case 20:
        return OSType::unused;
    default:
        return std::nullopt;
    }
}

std::optional<Entry> Entry::make(CentralDirectoryStructure centralDirectoryStructure,
                                 LocalFileHeader localFileHeader,
                                 std::optional<DataDescriptor> dataDescriptor,
                                 std::optional<ZIP64DataDescriptor> zip64DataDescriptor,
                                 std::optional<TextEncoding> preferredEncoding) {
    if (centralDirectoryStructure.isEncrypted())
        return std::nullopt;
    Entry entry;
    entry.centralDirectoryStructure_ = std::move(centralDirectoryStructure);
    entry.localFileHeader_ = std::move(localFileHeader);
    entry.dataDescriptor_ = std::move(dataDescriptor);
    entry.zip64DataDescriptor_ = std::move(zip64DataDescriptor);
    entry.preferredEncoding_ = preferredEncoding;
    return entry;
}

std::string Entry::path(TextEncoding encoding) const {
    return decode(centralDirectoryStructure_.fileNameData, encoding).value_or(std::string());
}

std::string Entry::path() const {
    return path(centralDirectoryStructure_.usesUTF8PathEncoding() ? TextEncoding::utf8
                                                                  : TextEncoding::codePage437);
}

std::string Entry::path(std::optional<TextEncoding> preferredEncoding) const {
    return preferredEncoding ? path(*preferredEncoding) : path();
}

Entry::EntryType Entry::type() const {
    const OSType host =
        osType(centralDirectoryStructure_.versionMadeBy >> 8U).value_or(OSType::unused);
    const std::uint32_t attributes = centralDirectoryStructure_.externalFileAttributes;
    if (host == OSType::unix || host == OSType::osx) {
        const std::uint32_t mode = attributes >> 16U;
        const std::uint32_t format = mode & S_IFMT;
        if (format == S_IFREG || format == S_IFDIR || format == S_IFLNK)
            return entryType(mode);
    }
    // The whole attribute word must be 0x10 to 0x1F: the directory bit with a bit above it does not
    // count.
    const bool isDirectory =
        (host == OSType::msdos && attributes >> 4U == 1) || path().ends_with('/');
    return isDirectory ? EntryType::directory : EntryType::file;
}

CRC32 Entry::checksum() const {
    if (!centralDirectoryStructure_.usesDataDescriptor())
        return centralDirectoryStructure_.crc32;
    if (zip64DataDescriptor_)
        return zip64DataDescriptor_->crc32;
    return dataDescriptor_ ? dataDescriptor_->crc32 : 0;
}

std::uint64_t Entry::compressedSize() const {
    if (centralDirectoryStructure_.isZIP64())
        return zip64DataDescriptor_ ? zip64DataDescriptor_->compressedSize
                                    : centralDirectoryStructure_.effectiveCompressedSize();
    return dataDescriptor_ ? dataDescriptor_->compressedSize
                           : centralDirectoryStructure_.compressedSize;
}

std::uint64_t Entry::uncompressedSize() const {
    if (centralDirectoryStructure_.isZIP64())
        return zip64DataDescriptor_ ? zip64DataDescriptor_->uncompressedSize
                                    : centralDirectoryStructure_.effectiveUncompressedSize();
    return dataDescriptor_ ? dataDescriptor_->uncompressedSize
                           : centralDirectoryStructure_.uncompressedSize;
}

std::uint64_t Entry::dataOffset() const {
    return saturatedSum(centralDirectoryStructure_.effectiveRelativeOffsetOfLocalHeader(),
                        LocalFileHeader::size, localFileHeader_.fileNameLength,
                        localFileHeader_.extraFieldLength);
}

std::uint64_t Entry::localSize() const {
    std::uint64_t size = LocalFileHeader::size + std::uint64_t{localFileHeader_.fileNameLength} +
                         localFileHeader_.extraFieldLength;
    if (centralDirectoryStructure_.isZIP64())
        size += zip64DataDescriptor_ ? ZIP64DataDescriptor::size : 0;
    else
        size += dataDescriptor_ ? DataDescriptor::size : 0;
    return saturatedSum(size, isCompressed() ? compressedSize() : uncompressedSize());
}

FileAttributes Entry::fileAttributes() const {
    return attributesOf(*this);
}

bool operator==(const Entry &left, const Entry &right) {
    return left.path() == right.path() &&
           left.localFileHeader_.crc32 == right.localFileHeader_.crc32 &&
           left.centralDirectoryStructure_.effectiveRelativeOffsetOfLocalHeader() ==
               right.centralDirectoryStructure_.effectiveRelativeOffsetOfLocalHeader();
}

} // namespace vellomir::archive
