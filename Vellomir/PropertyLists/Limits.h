#pragma once

#include <cstddef>

namespace vellomir {

// Limits of a property list. Lists are untrusted input; a bundle's list has a few thousand values.

/// Levels of nested arrays and dictionaries. Bounds every recursion over values.
inline constexpr std::size_t maximumPropertyListDepth = 512;
/// Number of values. A value that a binary list references several times counts each time.
inline constexpr std::size_t maximumPropertyListValues = 1'000'000;
/// Total bytes of all keys, texts and data, counted in the same way.
inline constexpr std::size_t maximumPropertyListTextSize = 32 << 20;

} // namespace vellomir
