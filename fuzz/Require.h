#pragma once

#include <cstdio>
#include <cstdlib>

/// What every fuzzer shares.
namespace vellomir::fuzz {

/// Ends the run with the input as a finding.
inline void require(bool condition, const char *promise) {
    if (condition)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

} // namespace vellomir::fuzz
