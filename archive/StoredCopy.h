#pragma once

#include "archive/Data.h"

namespace vellomir::archive {

/// One stored part, from its provider to its consumer.
struct StoredCopy {
    std::int64_t size = 0;      ///< bytes
    std::int64_t chunkSize = 0; ///< bytes
    bool skipCRC32 = false;
    /// Whether the first chunk that is shorter than asked for is the last one. Otherwise the whole
    /// size is asked for.
    bool endsAtShortChunk = false;
};

/// Copies the part in chunks; returns the CRC-32 of what came, 0 when skipped. Throws
/// `CompressionError::invalidStream` for a chunk size below 1, and what provider and consumer
/// throw.
CRC32 copyStored(const StoredCopy &part, const Provider &provider, const Consumer &consumer);

} // namespace vellomir::archive
