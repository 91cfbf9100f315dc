#pragma once

#include "archive/EndRecords.h"

#include <cstdio>

namespace vellomir::archive {

/// Reads the central directory, all of its bytes. `known` are the end records as the archive object
/// remembers them. Moves the stream's position.
///
/// Throws `unreadableArchive` if the stream has other end records by now, and
/// `invalidCentralDirectorySize` if the directory does not fit in front of them.
[[nodiscard]] Data readCentralDirectory(std::FILE *file, const EndRecords &known);

/// Checks that the archive can be changed without loss: the directory's records fill exactly the
/// size that the end record gives, are as many as it counts, and name places in front of the
/// directory. One pass over the bytes, and a look at what follows them in the stream.
///
/// Throws `invalidCentralDirectoryEntryCount`, `invalidCentralDirectorySize` or
/// `invalidCentralDirectoryOffset`, with what disagrees.
void requireSoundDirectory(const Data &directory, std::FILE *file, const EndRecords &known);

} // namespace vellomir::archive
