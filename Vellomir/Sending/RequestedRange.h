#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vellomir {

/// A piece of a file, in bytes.
struct FilePart {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;

    friend bool operator==(const FilePart &, const FilePart &) = default;
};

/// What the field "Range" asks for.
struct RequestedRange {
    enum class Kind {
        whole,      ///< no range, several, another unit, or none that can be understood
        part,       ///< `part`, which is not empty
        impossible, ///< nothing of it is in the file
    };
    Kind kind = Kind::whole;
    FilePart part;

    friend bool operator==(const RequestedRange &, const RequestedRange &) = default;
};

/// Of a file of this size. Numbers may have any length.
[[nodiscard]] RequestedRange parseRange(std::string_view value, std::uint64_t fileSize);

} // namespace vellomir
