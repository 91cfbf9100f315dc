#include "archive/EntryRecords.h"

namespace vellomir::archive {

bool needsZIP64(std::uint64_t uncompressedSize, std::uint64_t compressedSize) {
    return uncompressedSize >= maxUncompressedSize || compressedSize >= maxCompressedSize;
}

std::size_t localFileHeaderSize(std::size_t pathLength, std::uint64_t size) {
    constexpr std::size_t sizesField =
        ZIP64ExtendedInformation::headerSize + 2 * sizeof(std::uint64_t);
    return LocalFileHeader::size + pathLength + (needsZIP64(size, size) ? sizesField : 0);
}

LocalFileHeader makeLocalFileHeader(const NewEntry &entry) {
    if (!isValidUTF8(entry.path) || entry.path.size() > maxUInt16)
        throw Error(ArchiveError::invalidEntryPath);
    const bool isLarge = needsZIP64(entry.uncompressedSize, entry.compressedSize);
    const auto version = isLarge ? Archive::Version::v45 : Archive::Version::v20;
    LocalFileHeader header;
    header.versionNeededToExtract = static_cast<std::uint16_t>(version);
    header.generalPurposeBitFlag = utf8PathFlag;
    header.compressionMethod = static_cast<std::uint16_t>(entry.method);
    header.lastModFileTime = entry.modificationDateTime.time;
    header.lastModFileDate = entry.modificationDateTime.date;
    header.crc32 = entry.checksum;
    header.fileNameData = Data(entry.path);
    header.fileNameLength = static_cast<std::uint16_t>(entry.path.size());
    header.compressedSize = isLarge ? maxUInt32 : static_cast<std::uint32_t>(entry.compressedSize);
    header.uncompressedSize =
        isLarge ? maxUInt32 : static_cast<std::uint32_t>(entry.uncompressedSize);
    if (isLarge) {
        ZIP64ExtendedInformation field;
        field.dataSize = 2 * sizeof(std::uint64_t);
        field.uncompressedSize = entry.uncompressedSize;
        field.compressedSize = entry.compressedSize;
        header.extraFieldData = field.data();
        header.extraFieldLength = static_cast<std::uint16_t>(header.extraFieldData.size());
    }
    return header;
}

CentralDirectoryStructure makeCentralDirectoryStructure(const LocalFileHeader &localFileHeader,
                                                        std::uint64_t relativeOffset,
                                                        std::uint32_t externalFileAttributes) {
    ZIP64ExtendedInformation field;
    if (const auto sizes = ZIP64ExtendedInformation::scanForZIP64Field(
            localFileHeader.extraFieldData, localFileHeader.validFields())) {
        field.uncompressedSize = sizes->uncompressedSize;
        field.compressedSize = sizes->compressedSize;
        field.dataSize = 2 * sizeof(std::uint64_t);
    }
    auto offset = static_cast<std::uint32_t>(relativeOffset);
    if (relativeOffset >= maxOffsetOfLocalFileHeader) {
        offset = maxUInt32;
        field.relativeOffsetOfLocalHeader = relativeOffset;
        field.dataSize = static_cast<std::uint16_t>(field.dataSize + sizeof(std::uint64_t));
    }
    return CentralDirectoryStructure::from(localFileHeader, externalFileAttributes, offset,
                                           field.dataSize > 0 ? std::optional(field)
                                                              : std::nullopt);
}

} // namespace vellomir::archive
