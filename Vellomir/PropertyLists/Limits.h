#pragma once

#include <cstddef>

namespace vellomir {

// What a property list may cost. Lists are untrusted input, and the list of a bundle has a few
// thousand values.

/// Arrays and dictionaries within each other. Keeps every recursion over values short.
inline constexpr std::size_t maximumPropertyListDepth = 512;
/// Values, those that a binary list uses several times counted for each use.
inline constexpr std::size_t maximumPropertyListValues = 1'000'000;
/// Bytes of all keys, texts and data, counted in the same way.
inline constexpr std::size_t maximumPropertyListTextSize = 32 << 20;

} // namespace vellomir
