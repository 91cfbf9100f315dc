#pragma once

#include "archive/Compression.h"
#include "archive/Constants.h"
#include "archive/Progress.h"
#include "archive/URL.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace vellomir::archive {

/// Of an operation that can be watched and cancelled. May be null.
using ProgressPointer = std::shared_ptr<Progress>;

/// How to extract.
struct ExtractOptions {
    std::int64_t bufferSize = defaultReadChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
    bool skipCRC32 = false;                         ///< ignored by `extractChecked`
    ProgressPointer progress = nullptr;
    /// No more bytes than these are delivered; `invalidEntrySize` if the entry has more.
    std::optional<std::uint64_t> sizeLimit = std::nullopt;
};

/// How to add.
struct AddOptions {
    CompressionMethod compressionMethod = CompressionMethod::none; ///< for files only
    std::int64_t bufferSize = defaultWriteChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
    ProgressPointer progress = nullptr;
};

/// How to remove.
struct RemoveOptions {
    std::int64_t bufferSize = defaultReadChunkSize; ///< bytes of a chunk, 1 to `maxBufferSize`
    ProgressPointer progress = nullptr;             ///< counts the bytes that are kept
};

/// The item on disk that an entry is made of.
struct FileURL {
    URL url;
};

} // namespace vellomir::archive
