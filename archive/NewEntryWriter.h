#pragma once

#include "archive/EntryRecords.h"
#include "archive/Options.h"
#include "archive/StreamWriter.h"

namespace vellomir::archive {

/// Writes an entry where the writer is: its header, its data, and the header once more with what is
/// known only then. The entry needs its path, type, plain size, date and permissions; the result
/// has its method, compressed size and checksum too.
///
/// Throws `invalidEntryPath`, `invalidEntrySize`, `cancelledOperation`, `DataError::unwritableFile`
/// and `CompressionError`, and what the provider throws.
[[nodiscard]] NewEntry writeNewEntry(StreamWriter &writer, NewEntry entry, const Provider &provider,
                                     const AddOptions &options);

/// The record of the directory for an entry whose header was written at this offset.
[[nodiscard]] CentralDirectoryStructure directoryRecord(const NewEntry &entry,
                                                        std::uint64_t offset);

} // namespace vellomir::archive
