#pragma once

#include "tests/faults/SystemCalls.h"

#include <sys/types.h>

namespace vellomir::test {

/// Counts a call. True, and errno, if it has to fail.
bool fails(Call call);
/// How much of a transfer of this size goes through; −1, and errno, if it has to fail.
ssize_t allowedSize(Call call, std::size_t size);
/// Whether calls are counted at this moment.
bool isWatching();

} // namespace vellomir::test
