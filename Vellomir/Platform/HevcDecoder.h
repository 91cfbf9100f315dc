#pragma once

#include <cstdint>

namespace vellomir {

/// Makes libheif decode HEVC by a decoder of ours, and nothing else. Its own ones believe any size
/// that the coded data tells: such pictures take gigabytes and seconds, or end the program. Once.
void installHevcDecoder();

/// How many pixels each coded image may have from now on, and how many all of them together;
/// beyond, decoding fails. The decoder's threads share both.
void allowHevcPixels(std::int64_t each, std::int64_t together);

} // namespace vellomir
