#pragma once

#include <random>
#include <string>

namespace vellomir::test {

/// Incompressible bytes; the same for the same seed.
[[nodiscard]] inline std::string randomText(std::size_t size, unsigned seed = 1) {
    std::mt19937 generator(seed);
    std::string text(size, '\0');
    for (char &character : text)
        character = static_cast<char>(generator());
    return text;
}

} // namespace vellomir::test
