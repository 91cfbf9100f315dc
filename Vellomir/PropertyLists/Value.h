#pragma once

#include "archive/Data.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace vellomir {

struct PropertyListMember;
struct PropertyListValue;

/// Exists only in binary lists.
struct PropertyListNull {
    friend bool operator==(const PropertyListNull &, const PropertyListNull &) = default;
};

/// Compared by bits, so that 0 and -0 differ; but all NaNs are equal.
struct PropertyListReal {
    double value = 0;
    friend bool operator==(const PropertyListReal &left, const PropertyListReal &right);
};

/// A point in time. Fractions are kept in memory; XML stores whole seconds.
struct PropertyListDate {
    double seconds = 0; ///< since 2001-01-01 00:00:00 UTC, without leap seconds
    friend bool operator==(const PropertyListDate &, const PropertyListDate &) = default;
};

/// The number of an object in an archive of objects. XML stores it as a dictionary with the single
/// key "CF$UID".
struct PropertyListUID {
    std::uint64_t value = 0;
    friend bool operator==(const PropertyListUID &, const PropertyListUID &) = default;
};

using PropertyListArray = std::vector<PropertyListValue>;
/// In the order of the list, without duplicate keys.
using PropertyListDictionary = std::vector<PropertyListMember>;

/// A value of any kind. Texts are UTF-8.
struct PropertyListValue {
    /// An integer is unsigned only if it is greater than 2^63 - 1.
    std::variant<PropertyListNull, std::string, std::int64_t, std::uint64_t, PropertyListReal, bool,
                 PropertyListDate, archive::Data, PropertyListUID, PropertyListArray,
                 PropertyListDictionary>
        content;
};

struct PropertyListMember {
    std::string key;
    PropertyListValue value;
};

[[nodiscard]] bool operator==(const PropertyListValue &left, const PropertyListValue &right);
[[nodiscard]] bool operator==(const PropertyListMember &left, const PropertyListMember &right);

/// The integer with the right type: signed if it fits, else unsigned.
[[nodiscard]] PropertyListValue makeInteger(std::uint64_t number);

/// A phrase for errors: "a text", "an array".
[[nodiscard]] const char *kindOf(const PropertyListValue &value);

} // namespace vellomir
