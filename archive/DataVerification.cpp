#include "archive/DataVerification.h"

#include "archive/DeflateStream.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace vellomir::archive {
namespace {

using Kind = FindingKind;

constexpr std::int64_t readingSize = 65536;

/// The data cannot be read to its end, and why.
struct Obstacle {
    Kind kind;
    FindingValue expected = {};
    FindingValue found = {};
};

/// The stored bytes of one entry, from the file's position on.
class StoredBytes {
public:
    StoredBytes(std::FILE *file, std::uint64_t size, const Archive::ProgressPointer &progress)
        : file_(file), size_(size), progress_(progress), buffer_(readingSize) {}

    std::span<const std::byte> operator()(std::int64_t /*position*/, std::size_t size) {
        requireNotCancelled(progress_);
        const std::span<std::byte> room = std::span(buffer_).first(std::min(size, buffer_.size()));
        const auto chunk = Data::readChunk(room, file_);
        count_ += chunk.size();
        if (chunk.size() < room.size())
            throw Obstacle{Kind::dataIsCutShort, size_, count_};
        if (progress_)
            progress_->addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
        return chunk;
    }

private:
    std::FILE *file_;
    std::uint64_t size_;
    const Archive::ProgressPointer &progress_;
    std::vector<std::byte> buffer_;
    std::uint64_t count_ = 0;
};

DeflateStreamTotals readStored(StoredBytes &source, std::int64_t size) {
    const auto ignore = [](std::span<const std::byte>) {};
    const CRC32 checksum = Data::consumePart(size, readingSize, false, std::ref(source), ignore);
    const auto count = static_cast<std::uint64_t>(size);
    return {checksum, count, count};
}

DeflateStreamTotals readDeflated(StoredBytes &source, std::int64_t size, std::uint64_t promised) {
    std::uint64_t produced = 0;
    const auto count = [&](std::span<const std::byte> chunk) {
        produced += chunk.size();
        if (produced > promised)
            throw Obstacle{Kind::dataIsTooLong, promised};
    };
    const DeflateStream stream{.size = size, .bufferSize = readingSize};
    // zlib is strict: a faster codec may accept codes that other readers refuse.
    const auto codec = makeZlibCodec(stream.operation);
    return process(stream, *codec, std::ref(source), count);
}

/// Throws an `Obstacle` where the reading cannot go on.
DeflateStreamTotals readToEnd(std::FILE *file, const EntryRecords &records,
                              const Archive::ProgressPointer &progress) {
    const std::uint64_t size = records.central.effectiveCompressedSize();
    const std::uint64_t offset = records.dataOffset();
    constexpr auto largest = static_cast<std::uint64_t>(std::numeric_limits<off_t>::max());
    if (size > largest || offset > largest ||
        ::fseeko(file, static_cast<off_t>(offset), SEEK_SET) != 0)
        throw Obstacle{Kind::dataLiesBeyondAnyFile, {}, offset};
    const std::uint16_t number = records.local.compressionMethod;
    const auto method = makeCompressionMethod(number);
    if (!method)
        throw Obstacle{Kind::methodIsUnsupported, {}, std::uint64_t{number}};
    StoredBytes source(file, size, progress);
    const auto signedSize = static_cast<std::int64_t>(size);
    return *method == CompressionMethod::none
               ? readStored(source, signedSize)
               : readDeflated(source, signedSize, records.central.effectiveUncompressedSize());
}

std::variant<DeflateStreamTotals, Obstacle> tryToRead(std::FILE *file, const EntryRecords &records,
                                                      const Archive::ProgressPointer &progress) {
    try {
        return readToEnd(file, records, progress);
    } catch (const Obstacle &obstacle) {
        return obstacle;
    } catch (const Error &error) {
        if (error.code() == Archive::ArchiveError::cancelledOperation)
            throw;
        return Obstacle{Kind::dataIsUnreadable, {}, std::string(error.what())};
    }
}

void compareTotals(const DeflateStreamTotals &totals, const CentralDirectoryStructure &central,
                   const EntryReport &report) {
    if (totals.sourceSize < central.effectiveCompressedSize())
        report(Kind::dataIsFollowedByBytes, central.effectiveCompressedSize(), totals.sourceSize);
    if (totals.producedSize != central.effectiveUncompressedSize())
        report(Kind::dataSizeDiffers, central.effectiveUncompressedSize(), totals.producedSize);
    if (totals.crc32 != central.crc32)
        report(Kind::dataChecksumDiffers, std::uint64_t{central.crc32},
               std::uint64_t{totals.crc32});
}

} // namespace

void verifyData(std::FILE *file, const EntryRecords &records,
                const Archive::ProgressPointer &progress, const EntryReport &report) {
    const auto outcome = tryToRead(file, records, progress);
    if (const auto *obstacle = std::get_if<Obstacle>(&outcome))
        report(obstacle->kind, obstacle->expected, obstacle->found);
    else
        compareTotals(std::get<DeflateStreamTotals>(outcome), records.central, report);
}

} // namespace vellomir::archive
