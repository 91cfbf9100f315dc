#include "Vellomir/PropertyLists/Value.h"

#include <bit>
#include <cmath>
#include <limits>

namespace vellomir {

bool operator==(const PropertyListReal &left, const PropertyListReal &right) {
    if (std::isnan(left.value) && std::isnan(right.value))
        return true;
    return std::bit_cast<std::uint64_t>(left.value) == std::bit_cast<std::uint64_t>(right.value);
}

bool operator==(const PropertyListValue &left, const PropertyListValue &right) {
    return left.content == right.content;
}

bool operator==(const PropertyListMember &left, const PropertyListMember &right) {
    return left.key == right.key && left.value == right.value;
}

PropertyListValue makeInteger(std::uint64_t number) {
    if (number > std::uint64_t{std::numeric_limits<std::int64_t>::max()})
        return {number};
    return {static_cast<std::int64_t>(number)};
}

const char *kindOf(const PropertyListValue &value) {
    static constexpr const char *names[] = {
        "null",   "a text", "an integer", "an integer", "a real number", "a Boolean",
        "a date", "data",   "a UID",      "an array",   "a dictionary",
    };
    static_assert(std::size(names) == std::variant_size_v<decltype(PropertyListValue::content)>);
    return names[value.content.index()];
}

} // namespace vellomir
