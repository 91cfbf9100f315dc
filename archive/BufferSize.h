#pragma once

#include "archive/Constants.h"
#include "archive/Error.h"

#include <cstddef>
#include <memory>
#include <new>

namespace vellomir::archive {

/// Throws `invalidBufferSize` for a size below 1 or above `maxBufferSize`.
inline void requireBufferSize(std::int64_t bufferSize) {
    if (bufferSize < 1 || bufferSize > maxBufferSize)
        throw Error(ArchiveError::invalidBufferSize);
}

/// A buffer without content. Throws `invalidBufferSize` if there is no memory for it.
[[nodiscard]] inline std::unique_ptr<std::byte[]> makeBuffer(std::size_t size) {
    std::unique_ptr<std::byte[]> buffer(new (std::nothrow) std::byte[size]);
    if (!buffer)
        throw Error(ArchiveError::invalidBufferSize,
                    {.detail = "There is no memory for a buffer of this size"});
    return buffer;
}

} // namespace vellomir::archive
