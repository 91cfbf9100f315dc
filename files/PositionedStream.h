#pragma once

#include "files/FileDescriptor.h"

#include <cstdio>

namespace vellomir {

/// A stream of the C library that reads or writes an open file at a position of its own, which
/// starts at 0: it neither moves the position of other descriptors of the open file nor follows it.
/// So a file that was opened once can be read or written by several threads, each with a stream of
/// its own. The access must be one that the descriptor has. The stream closes the descriptor with
/// itself. Null, with errno, if that fails; the descriptor is closed then too.
[[nodiscard]] std::FILE *openPositionedStream(FileDescriptor file, Access access = Access::read);

} // namespace vellomir
