#include "tests/support/RecordArchive.h"

#include "tests/support/RawArchive.h"

namespace vellomir::test {
namespace {

using archive::Data;

std::string text(const Data &data) {
    return std::string(data.text());
}

} // namespace

RecordEntry::RecordEntry(const std::string &name, const std::string &content) : data(content) {
    header.versionNeededToExtract = 20;
    header.generalPurposeBitFlag = archive::utf8PathFlag;
    header.lastModFileTime = 0x6B3D;
    header.lastModFileDate = 0x5A21;
    header.crc32 = Data(std::string_view(content)).crc32(0);
    header.compressedSize = header.uncompressedSize = static_cast<std::uint32_t>(content.size());
    setTail(header.fileNameLength, header.fileNameData, name);
    record = archive::CentralDirectoryStructure::from(header, 0100644U << 16U, 0, std::nullopt);
}

RecordEntry deflatedRecordEntry(const std::string &name, const std::string &content) {
    RecordEntry entry(name, content);
    entry.data = rawDeflated(name, content).data;
    entry.header.compressionMethod = entry.record.compressionMethod = 8;
    entry.header.compressedSize = entry.record.compressedSize =
        static_cast<std::uint32_t>(entry.data.size());
    return entry;
}

std::size_t localSize(const RecordEntry &entry) {
    return entry.header.data().size() + entry.data.size() + entry.trailer.size();
}

void setTail(std::uint16_t &length, Data &bytes, std::string_view content) {
    bytes = Data(content);
    length = static_cast<std::uint16_t>(content.size());
}

std::string recordArchive(const std::vector<RecordEntry> &entries,
                          const std::optional<archive::ZIP64EndOfCentralDirectory> &zip64) {
    std::string content;
    std::string directory;
    for (const RecordEntry &entry : entries) {
        auto record = entry.record;
        if (record.relativeOffsetOfLocalHeader != archive::maxUInt32)
            record.relativeOffsetOfLocalHeader = static_cast<std::uint32_t>(content.size());
        directory += text(record.data());
        content += text(entry.header.data()) + entry.data + entry.trailer;
    }
    archive::EndOfCentralDirectoryRecord end;
    end.totalNumberOfEntriesOnDisk = static_cast<std::uint16_t>(entries.size());
    end.totalNumberOfEntriesInCentralDirectory = end.totalNumberOfEntriesOnDisk;
    end.sizeOfCentralDirectory = static_cast<std::uint32_t>(directory.size());
    end.offsetToStartOfCentralDirectory = static_cast<std::uint32_t>(content.size());
    return content + directory + (zip64 ? text(zip64->data()) : std::string()) + text(end.data());
}

} // namespace vellomir::test
