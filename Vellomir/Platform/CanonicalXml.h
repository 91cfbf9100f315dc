#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellomir {

/// Deeper nesting would be a danger to the stack of whoever reads the result.
inline constexpr std::size_t maximumPropertyListDepth = 512;

/// What an XML property list says, in the one way to say it: only elements and their values, one
/// spelling for each value. Two property lists are the same if their canonical texts are.
///
/// Throws `PropertyListError::unreadablePropertyList`, with the line, for anything that is no
/// property list or would not be read alike by everybody, such as a key that stands twice.
[[nodiscard]] std::string canonicalXml(std::string_view xml);

} // namespace vellomir
