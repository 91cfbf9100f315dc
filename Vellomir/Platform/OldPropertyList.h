#pragma once

#include <string>
#include <string_view>

namespace vellomir {

/// What a property list in the old text format says, as XML: { key = value; list = (a, "b c");
/// bytes = <0a 0b>; }, with or without the outer braces. The text is UTF-8. Throws
/// `PropertyListError::unreadablePropertyList` with the line.
[[nodiscard]] std::string oldPropertyListXml(std::string_view text);

} // namespace vellomir
