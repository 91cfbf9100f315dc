#include "archive/Compression.h"

#include "archive/DeflateStream.h"
#include "archive/Error.h"
#include "archive/StoredCopy.h"

#include <algorithm>

namespace vellomir::archive {

CRC32 Data::compress(std::int64_t size, std::int64_t bufferSize, const Provider &provider,
                     const Consumer &consumer) {
    return process({Codec::Operation::encode, size, bufferSize, false}, provider, consumer).crc32;
}

CRC32 Data::decompress(std::int64_t size, std::int64_t bufferSize, bool skipCRC32,
                       const Provider &provider, const Consumer &consumer) {
    return process({Codec::Operation::decode, size, bufferSize, skipCRC32}, provider, consumer)
        .crc32;
}

CRC32 copyStored(const StoredCopy &part, const Provider &provider, const Consumer &consumer) {
    if (part.size <= 0) {
        consumer({});
        return 0;
    }
    if (part.chunkSize < 1)
        throw Error(Data::CompressionError::invalidStream,
                    {.detail = "The chunk size must be greater than 0"});
    CRC32 checksum = 0;
    for (std::int64_t position = 0; position < part.size;) {
        const std::int64_t count = std::min(part.chunkSize, part.size - position);
        const auto chunk = providedBytes(provider, position, static_cast<std::size_t>(count));
        consumer(chunk);
        if (!part.skipCRC32)
            checksum = Data::crc32(chunk, checksum);
        if (part.endsAtShortChunk && chunk.size() < static_cast<std::size_t>(count))
            break;
        position += count;
    }
    return checksum;
}

CRC32 Data::consumePart(std::int64_t size, std::int64_t chunkSize, bool skipCRC32,
                        const Provider &provider, const Consumer &consumer) {
    return copyStored({.size = size, .chunkSize = chunkSize, .skipCRC32 = skipCRC32}, provider,
                      consumer);
}

} // namespace vellomir::archive
