#include "archive/ChunkReader.h"

#include "archive/SaturatedSum.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <array>

namespace vellomir::archive {

ChunkReader::ChunkReader(const Archive &archive)
    : file_(archive.archiveFile()), path_(archive.isMemory() ? "" : archive.url().path()),
      codec_(makeCodec(Codec::Operation::decode)), storedChunk_(chunkSize), plainChunk_(chunkSize) {
}

void ChunkReader::start(const EntryFacts &entry, Form form) {
    entry_ = entry;
    position_ = delivered_ = 0;
    source_ = {};
    isInflating_ = isInflated_ = false;
    if (form == Form::stored)
        return;
    const auto method = makeCompressionMethod(entry.dataMethod);
    if (!method)
        throw Error(ArchiveError::invalidCompressionMethod, {.path = path_});
    isInflating_ = *method == CompressionMethod::deflate;
    if (isInflating_ && !codec_->setUp())
        throw Error(CompressionError::invalidStream, {.path = path_});
}

std::span<const std::byte> ChunkReader::next() {
    try {
        return isInflating_ ? nextInflated() : nextStored();
    } catch (const Error &error) {
        throw error.about({}, path_);
    }
}

std::span<const std::byte> ChunkReader::nextStored() {
    const auto size = static_cast<std::size_t>(
        std::min<std::uint64_t>(storedChunk_.size(), entry_.storedSize - position_));
    if (size == 0)
        return {};
    if (!Data::seek(file_, saturatedSum(entry_.dataOffset, position_)))
        throw Error(ArchiveError::invalidLocalHeaderDataOffset);
    const auto chunk = Data::readChunk(std::span(storedChunk_).first(size), file_);
    if (chunk.size() < size)
        throw Error(CompressionError::corruptedData,
                    {.detail = "The archive ends in the middle of the data"});
    position_ += size;
    return chunk;
}

std::span<const std::byte> ChunkReader::nextInflated() {
    std::span<std::byte> room = plainChunk_;
    while (!room.empty() && !isInflated_)
        inflateInto(room);
    const auto chunk = std::span(plainChunk_).first(plainChunk_.size() - room.size());
    count(chunk.size());
    return chunk;
}

void ChunkReader::inflateInto(std::span<std::byte> &room) {
    if (source_.empty())
        source_ = nextStored();
    const std::size_t before = source_.size() + room.size();
    const auto status = codec_->process(source_, room, position_ == entry_.storedSize);
    isInflated_ = status == Codec::Status::end;
    if (status == Codec::Status::error)
        throw Error(CompressionError::corruptedData, {.detail = "The compressed data is damaged"});
    if (!isInflated_ && source_.size() + room.size() == before)
        throw Error(CompressionError::corruptedData,
                    {.detail = "The compressed data ends too early"});
}

/// After a chunk of the data.
void ChunkReader::count(std::size_t size) {
    delivered_ += size;
    if (delivered_ > entry_.size || (isInflated_ && delivered_ < entry_.size))
        throw Error(ArchiveError::invalidEntrySize,
                    {.detail = "The data does not have the " + std::to_string(entry_.size) +
                               " bytes that the directory of the archive promises"});
}

void ChunkReader::requireChecksum(CRC32 found) const {
    if (found == entry_.checksum)
        return;
    std::array<char, 100> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "The data is damaged: its checksum is %08x, not %08x", found,
                                    entry_.checksum));
    throw Error(ArchiveError::invalidCRC32, {.path = path_, .detail = text.data()});
}

void ChunkReader::requireIntact(const EntryFacts &entry, const ProgressPointer &progress) {
    start(entry, Form::plain);
    CRC32 checksum = 0;
    for (auto chunk = next(); !chunk.empty(); chunk = next()) {
        requireNotCancelled(progress);
        checksum = Data::crc32(chunk, checksum);
    }
    requireChecksum(checksum);
}

} // namespace vellomir::archive
