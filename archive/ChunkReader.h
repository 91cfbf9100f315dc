#pragma once

#include "archive/Codec.h"
#include "archive/EntryTable.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vellomir::archive {

/// Reads one entry after the other, a chunk whenever it is asked for one, so that two entries can
/// be read side by side. Memory is two chunks. It moves the archive's stream; others may do so in
/// between.
class ChunkReader {
public:
    enum class Form { stored, plain };

    /// The archive must outlive the reader.
    explicit ChunkReader(const Archive &archive);

    /// Begins with the bytes of the entry as they are stored, or with its data. Throws
    /// `invalidCompressionMethod` for data of an unknown method, with the path of the archive as in
    /// all errors.
    void start(const EntryFacts &entry, Form form);

    /// The next bytes: whole chunks, then what is left, then none; valid until the next call.
    /// Throws `DataError::unreadableFile`, `invalidLocalHeaderDataOffset`,
    /// `CompressionError::corruptedData`, also where the archive ends in the bytes, and, of data,
    /// `invalidEntrySize` if it is longer or shorter than promised.
    [[nodiscard]] std::span<const std::byte> next();

    /// Of those that are stored.
    [[nodiscard]] std::uint64_t bytesRead() const { return position_; }

    /// Throws `invalidCRC32` unless this is the checksum that the entry promises.
    void requireChecksum(CRC32 found) const;
    /// Reads all data of the entry, and throws what `start`, `next` and `requireChecksum` throw,
    /// and `cancelledOperation` between two chunks.
    void requireIntact(const EntryFacts &entry, const ProgressPointer &progress);

private:
    static constexpr std::size_t chunkSize = 131072;

    [[nodiscard]] std::span<const std::byte> nextStored();
    [[nodiscard]] std::span<const std::byte> nextInflated();
    void inflateInto(std::span<std::byte> &room);
    void count(std::size_t size);

    std::FILE *file_;
    std::string path_; ///< for errors; "" in memory
    std::unique_ptr<Codec> codec_;
    std::vector<std::byte> storedChunk_;
    std::vector<std::byte> plainChunk_;
    EntryFacts entry_;
    bool isInflating_ = false;
    std::uint64_t position_ = 0;        ///< in the stored bytes
    std::span<const std::byte> source_; ///< stored bytes that are not inflated yet
    bool isInflated_ = false;           ///< the compressed data has ended
    std::uint64_t delivered_ = 0;       ///< bytes of the data
};

} // namespace vellomir::archive
