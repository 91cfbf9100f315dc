#pragma once

#include "archive/Codec.h"
#include "archive/Data.h"

namespace vellomir::archive {

/// One raw DEFLATE stream, in either direction.
struct DeflateStream {
    Codec::Operation operation = Codec::Operation::decode;
    std::int64_t size = 0;       ///< bytes of the source
    std::int64_t bufferSize = 0; ///< bytes of a chunk of the source, and of one of the output
    bool skipCRC32 = false;
};

/// What came of a stream.
struct DeflateStreamTotals {
    CRC32 crc32 = 0;              ///< of the plain bytes; 0 when skipped
    std::uint64_t sourceSize = 0; ///< bytes up to the stream's end; less than `size` if more follow
    std::uint64_t producedSize = 0; ///< bytes handed to the consumer

    friend bool operator==(const DeflateStreamTotals &, const DeflateStreamTotals &) = default;
};

/// Runs the stream from the provider to the consumer with the codec, which it sets up. The last
/// chunk, and only that, may be shorter than `bufferSize`; the source of a multiple of `bufferSize`
/// bytes has an empty one at its end. Each pass hands the consumer what came out, even if that is
/// nothing.
///
/// Throws `CompressionError::invalidStream` if there is no memory or the buffer has no size,
/// `CompressionError::corruptedData`, and what provider and consumer throw.
DeflateStreamTotals process(const DeflateStream &stream, Codec &codec, const Provider &provider,
                            const Consumer &consumer);

/// The same with the best codec of this build. Codec and work buffer are the thread's own and wait
/// there for the next stream; a stream run by a provider or a consumer gets others.
DeflateStreamTotals process(const DeflateStream &stream, const Provider &provider,
                            const Consumer &consumer);

} // namespace vellomir::archive
