#include "cli/DataCheck.h"

#include "cli/EntryText.h"
#include "cli/Interruption.h"

#include "archive/Archive.h"
#include "archive/DeflateStream.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

namespace vellomir::cli {
namespace {

using archive::DeflateStreamTotals;

constexpr std::int64_t chunkSize = 65536;

std::string bytes(std::uint64_t count) {
    return countText(count, "byte");
}

/// The reading cannot go on; `what()` is the sentence for it.
class Stop : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The stored bytes of one entry, from the file's position on.
class StoredBytes {
public:
    StoredBytes(std::FILE *file, archive::Progress &progress)
        : file_(file), progress_(progress), buffer_(chunkSize) {}

    std::span<const std::byte> operator()(std::int64_t /*position*/, std::size_t size) {
        Interruption::throwIfInterrupted();
        const std::span<std::byte> room = std::span(buffer_).first(std::min(size, buffer_.size()));
        const auto chunk = archive::Data::readChunk(room, file_);
        if (chunk.size() < room.size())
            throw Stop("the archive ends in the middle of the data");
        progress_.addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
        return chunk;
    }

private:
    std::FILE *file_;
    archive::Progress &progress_;
    std::vector<std::byte> buffer_;
};

DeflateStreamTotals readStored(StoredBytes &source, std::int64_t size) {
    const auto ignore = [](std::span<const std::byte>) {};
    const archive::CRC32 checksum =
        archive::Data::consumePart(size, chunkSize, false, std::ref(source), ignore);
    const auto count = static_cast<std::uint64_t>(size);
    return {checksum, count, count};
}

DeflateStreamTotals readDeflated(StoredBytes &source, std::int64_t size, std::uint64_t promised) {
    std::uint64_t produced = 0;
    const auto count = [&](std::span<const std::byte> chunk) {
        produced += chunk.size();
        if (produced > promised)
            throw Stop("it unpacks to more than the " + bytes(promised) + " that were promised");
    };
    const archive::DeflateStream stream{.size = size, .bufferSize = chunkSize};
    // zlib is strict: a faster codec may accept codes that other readers refuse.
    const auto codec = archive::makeZlibCodec(stream.operation);
    return archive::process(stream, *codec, std::ref(source), count);
}

DeflateStreamTotals read(std::FILE *file, const EntryRecords &records,
                         archive::Progress &progress) {
    const std::uint64_t size = records.central.effectiveCompressedSize();
    const std::uint64_t offset = records.dataOffset();
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    if (size > largest || offset > largest ||
        ::fseeko(file, static_cast<off_t>(offset), SEEK_SET) != 0)
        throw Stop("its data lies beyond any file's end");
    StoredBytes source(file, progress);
    const auto signedSize = static_cast<std::int64_t>(size);
    switch (archive::makeCompressionMethod(records.local.compressionMethod)
                .value_or(archive::CompressionMethod{0xFFFF})) {
    case archive::CompressionMethod::none:
        return readStored(source, signedSize);
    case archive::CompressionMethod::deflate:
        return readDeflated(source, signedSize, records.central.effectiveUncompressedSize());
    }
    throw Stop(methodName(records.local.compressionMethod) + " is not supported");
}

std::vector<std::string> compare(const DeflateStreamTotals &found,
                                 const archive::CentralDirectoryStructure &central) {
    std::vector<std::string> problems;
    if (found.sourceSize < central.effectiveCompressedSize())
        problems.push_back(bytes(central.effectiveCompressedSize() - found.sourceSize) +
                           " behind the end of the compressed data");
    if (found.producedSize != central.effectiveUncompressedSize())
        problems.push_back("it unpacks to " + bytes(found.producedSize) + ", not the " +
                           bytes(central.effectiveUncompressedSize()) + " that were promised");
    if (found.crc32 != central.crc32)
        problems.push_back("the data has the checksum " + checksumText(found.crc32) + ", not " +
                           checksumText(central.crc32));
    return problems;
}

} // namespace

std::vector<std::string> checkData(std::FILE *file, const EntryRecords &records,
                                   archive::Progress &progress) {
    try {
        return compare(read(file, records, progress), records.central);
    } catch (const Stop &stop) {
        return {stop.what()};
    } catch (const Error &error) {
        return {error.what()};
    }
}

} // namespace vellomir::cli
