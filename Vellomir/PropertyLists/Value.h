#pragma once

#include "archive/Data.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vellomir {

struct PropertyListMember;
struct PropertyListValue;

/// Only binary lists hold it.
struct PropertyListNull {
    friend bool operator==(const PropertyListNull &, const PropertyListNull &) = default;
};

/// Equal if the bits are, so that 0 and -0 differ; but any NaN equals any other.
struct PropertyListReal {
    double value = 0;
    friend bool operator==(const PropertyListReal &left, const PropertyListReal &right);
};

/// A moment. Fractions are kept, but XML has whole seconds.
struct PropertyListDate {
    double seconds = 0; ///< since 2001-01-01 00:00:00 UTC, without leap seconds
    friend bool operator==(const PropertyListDate &, const PropertyListDate &) = default;
};

/// The number of an object in an archive of objects. XML spells it as a dictionary with the one key
/// "CF$UID".
struct PropertyListUID {
    std::uint64_t value = 0;
    friend bool operator==(const PropertyListUID &, const PropertyListUID &) = default;
};

using PropertyListArray = std::vector<PropertyListValue>;
/// In the order of the list; no key twice.
using PropertyListDictionary = std::vector<PropertyListMember>;

/// One value of a property list, of any kind. Texts are UTF-8.
struct PropertyListValue {
    /// An integer is unsigned only if it is greater than 2^63 - 1.
    std::variant<PropertyListNull, std::string, std::int64_t, std::uint64_t, PropertyListReal, bool,
                 PropertyListDate, archive::Data, PropertyListUID, PropertyListArray,
                 PropertyListDictionary>
        content;
};

/// A key and its value.
struct PropertyListMember {
    std::string key;
    PropertyListValue value;
};

[[nodiscard]] bool operator==(const PropertyListValue &left, const PropertyListValue &right);
[[nodiscard]] bool operator==(const PropertyListMember &left, const PropertyListMember &right);

/// The integer with the type that it must have.
[[nodiscard]] PropertyListValue makeInteger(std::uint64_t number);

/// For an error: "a text", "an array".
[[nodiscard]] const char *kindOf(const PropertyListValue &value);

} // namespace vellomir
