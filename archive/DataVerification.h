#pragma once

#include "archive/RecordComparison.h"

#include <cstdio>

namespace vellomir::archive {

/// Reads the data of an entry to its end and compares it with what the directory promises:
/// checksum, size, and that the compressed data ends where it should. Memory stays flat; no more is
/// unpacked than was promised. The progress counts the stored bytes.
///
/// Throws `cancelledOperation` between two chunks, and what `report` throws.
void verifyData(std::FILE *file, const EntryRecords &records,
                const Archive::ProgressPointer &progress, const EntryReport &report);

} // namespace vellomir::archive
