#include "Vellomir/Sending/RequestedRange.h"

#include <algorithm>
#include <limits>

namespace vellomir {
namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

/// The largest number for all that are larger.
std::optional<std::uint64_t> decimal(std::string_view digits) {
    if (digits.empty())
        return std::nullopt;
    std::uint64_t number = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        const auto value = static_cast<std::uint64_t>(digit - '0');
        number = number > (largest - value) / 10 ? largest : number * 10 + value;
    }
    return number;
}

RequestedRange partOf(std::uint64_t first, std::uint64_t last, std::uint64_t fileSize) {
    if (first >= fileSize)
        return {.kind = RequestedRange::Kind::impossible};
    const std::uint64_t end = std::min(last, fileSize - 1);
    return {.kind = RequestedRange::Kind::part, .part = {first, end - first + 1}};
}

RequestedRange lastBytes(std::uint64_t count, std::uint64_t fileSize) {
    if (count == 0 || fileSize == 0)
        return {.kind = RequestedRange::Kind::impossible};
    return partOf(fileSize - std::min(count, fileSize), fileSize - 1, fileSize);
}

} // namespace

RequestedRange parseRange(std::string_view value, std::uint64_t fileSize) {
    constexpr std::string_view unit = "bytes=";
    const bool isBytes = value.size() >= unit.size() &&
                         std::equal(unit.begin(), unit.end(), value.begin(),
                                    [](char left, char right) { return left == lower(right); });
    const std::size_t hyphen = value.find('-');
    if (!isBytes || hyphen == std::string_view::npos)
        return {};
    const std::string_view before = value.substr(unit.size(), hyphen - unit.size());
    const std::string_view behind = value.substr(hyphen + 1);
    const auto first = decimal(before);
    const auto last = decimal(behind);
    if (before.empty() && last)
        return lastBytes(*last, fileSize);
    if (!first || (!last && !behind.empty()) || (last && *last < *first))
        return {};
    return partOf(*first, last.value_or(largest), fileSize);
}

} // namespace vellomir
