#pragma once

#include "cli/RecordComparison.h"

#include "archive/Progress.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace vellomir::cli {

/// Reads the data of an entry to its end and compares it with what the directory promises:
/// checksum, size, and that the compressed data ends where it should. Returns a sentence for each
/// thing that is wrong. Memory stays flat; no more is unpacked than was promised. Counts the stored
/// bytes; throws `Interrupted` between two chunks.
[[nodiscard]] std::vector<std::string> checkData(std::FILE *file, const EntryRecords &records,
                                                 archive::Progress &progress);

} // namespace vellomir::cli
