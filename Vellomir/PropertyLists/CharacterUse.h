#pragma once

#include <string_view>

namespace vellomir {

/// How much a text, which is UTF-8, looks like words of any language: the average over all
/// characters that are not ASCII. Letters count more than signs; a large letter behind a small one,
/// signs inside words, and signs that texts of apps hardly have count against it. 0 for ASCII.
///
/// In the wrong character set, a text has many of these.
[[nodiscard]] double usualness(std::string_view text);

} // namespace vellomir
