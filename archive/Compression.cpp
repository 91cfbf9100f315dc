#include "archive/Compression.h"

#include "archive/DeflateStream.h"
#include "archive/Error.h"

#include <algorithm>

namespace archive {

CRC32 Data::compress(std::int64_t size, std::int64_t bufferSize, const Provider &provider,
                     const Consumer &consumer) {
    return process({Codec::Operation::encode, size, bufferSize, false}, provider, consumer).crc32;
}

CRC32 Data::decompress(std::int64_t size, std::int64_t bufferSize, bool skipCRC32,
                       const Provider &provider, const Consumer &consumer) {
    return process({Codec::Operation::decode, size, bufferSize, skipCRC32}, provider, consumer)
        .crc32;
}

CRC32 Data::consumePart(std::int64_t size, std::int64_t chunkSize, bool skipCRC32,
                        const Provider &provider, const Consumer &consumer) {
    if (size <= 0) {
        consumer({});
        return 0;
    }
    if (chunkSize < 1)
        throw Error(CompressionError::invalidStream,
                    {.detail = "The chunk size must be greater than 0"});
    CRC32 checksum = 0;
    for (std::int64_t position = 0; position < size;) {
        const std::int64_t count = std::min(chunkSize, size - position);
        auto chunk = provider(position, static_cast<std::size_t>(count));
        chunk = chunk.first(std::min(chunk.size(), static_cast<std::size_t>(count)));
        consumer(chunk);
        if (!skipCRC32)
            checksum = crc32(chunk, checksum);
        position += count;
    }
    return checksum;
}

} // namespace archive
