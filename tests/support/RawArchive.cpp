#include "tests/support/RawArchive.h"

#include <stdexcept>
#include <zlib.h>

namespace vellomir::test {
namespace {

using archive::Data;

Data bytes(const std::string &text) {
    return Data(std::string_view(text));
}

archive::LocalFileHeader localFileHeader(const RawEntry &entry) {
    archive::LocalFileHeader header;
    header.versionNeededToExtract = entry.versionNeeded;
    header.generalPurposeBitFlag = entry.flags;
    header.compressionMethod = entry.method;
    header.lastModFileTime = 0x6B3D;
    header.lastModFileDate = 0x5A21;
    header.crc32 = entry.checksum;
    header.compressedSize = static_cast<std::uint32_t>(entry.data.size());
    header.uncompressedSize = entry.uncompressedSize;
    header.fileNameLength = static_cast<std::uint16_t>(entry.name.size());
    header.fileNameData = bytes(entry.name);
    return header;
}

archive::CentralDirectoryStructure directoryRecord(const RawEntry &entry, std::size_t offset) {
    auto record = archive::CentralDirectoryStructure::from(
        localFileHeader(entry), entry.attributes, static_cast<std::uint32_t>(offset), std::nullopt);
    record.versionMadeBy = entry.versionMadeBy;
    record.compressionMethod = entry.directoryMethod;
    return record;
}

} // namespace

RawEntry rawDirectory(const std::string &name) {
    return {.name = name, .data = {}, .attributes = 0040755U << 16U};
}

RawEntry rawLink(const std::string &name, const std::string &target) {
    return {.name = name, .data = target, .attributes = 0120777U << 16U};
}

RawEntry rawDeflated(const std::string &name, const std::string &content) {
    z_stream stream{};
    if (::deflateInit2(&stream, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("no deflate");
    std::string packed(::deflateBound(&stream, static_cast<uLong>(content.size())), '\0');
    std::string source = content;
    stream.next_in = reinterpret_cast<Bytef *>(source.data());
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    if (::deflate(&stream, Z_FINISH) != Z_STREAM_END)
        throw std::runtime_error("deflate did not finish");
    packed.resize(stream.total_out);
    ::deflateEnd(&stream);
    return {.name = name,
            .data = packed,
            .method = 8,
            .uncompressedSize = static_cast<std::uint32_t>(content.size()),
            .checksum = bytes(content).crc32(0)};
}

std::string rawArchive(const std::vector<RawEntry> &entries, const std::string &comment) {
    Data data;
    Data directory;
    for (const RawEntry &entry : entries) {
        directory.append(directoryRecord(entry, data.size()).data());
        data.append(localFileHeader(entry).data());
        data.append(bytes(entry.data));
        data.append(bytes(entry.trailer));
    }
    archive::EndOfCentralDirectoryRecord end;
    end.totalNumberOfEntriesOnDisk = static_cast<std::uint16_t>(entries.size());
    end.totalNumberOfEntriesInCentralDirectory = end.totalNumberOfEntriesOnDisk;
    end.sizeOfCentralDirectory = static_cast<std::uint32_t>(directory.size());
    end.offsetToStartOfCentralDirectory = static_cast<std::uint32_t>(data.size());
    end.zipFileCommentLength = static_cast<std::uint16_t>(comment.size());
    end.zipFileCommentData = bytes(comment);
    data.append(directory);
    data.append(end.data());
    return std::string(data.text());
}

} // namespace vellomir::test
