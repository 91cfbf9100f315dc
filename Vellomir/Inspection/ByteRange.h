#pragma once

#include "archive/Data.h"

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace vellomir {

/// A part of a file, in bytes.
struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;

    friend bool operator==(const ByteRange &, const ByteRange &) = default;
};

/// Reads parts of one file. Returns the bytes of each range; fewer where the file ends before it
/// does. The caller limits the sizes. One call for many ranges costs at most one pass over the
/// file.
using ReadRanges = std::function<std::vector<archive::Data>(std::span<const ByteRange> ranges)>;

/// Whether the range is inside a file of this size, without overflow.
[[nodiscard]] constexpr bool isInside(const ByteRange &range, std::uint64_t fileSize) {
    return range.offset <= fileSize && range.size <= fileSize - range.offset;
}

} // namespace vellomir
