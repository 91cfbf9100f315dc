#pragma once

#include "files/Error.h"

#include <system_error>
#include <type_traits>

namespace vellomir::archive {

// The exception of the engine, and the codes of what the file system refuses.
using vellomir::Error;
using vellomir::ErrorContext;
using vellomir::FileError;
using vellomir::readError;
using vellomir::writeError;

/// Of whole archives and of the operations on them; also `Archive::ArchiveError`.
enum class ArchiveError {
    unreadableArchive = 1,
    unwritableArchive,
    invalidEntryPath,
    invalidCompressionMethod,
    invalidCRC32,
    cancelledOperation,
    invalidBufferSize,
    invalidEntrySize,
    invalidLocalHeaderDataOffset,
    invalidLocalHeaderSize,
    invalidCentralDirectoryOffset,
    invalidCentralDirectorySize,
    invalidCentralDirectoryEntryCount,
    missingEndOfCentralDirectoryRecord,
};

/// Of the records of one entry; also `Entry::EntryError`.
enum class EntryError { invalidDataError = 1 };

/// Of a stream; also `Data::DataError`.
enum class DataError { unreadableFile = 1, unwritableFile };

/// Of compressed data; also `Data::CompressionError`.
enum class CompressionError { invalidStream = 1, corruptedData };

/// Lets the code of an `Error` be compared with the enumeration.
[[nodiscard]] std::error_code make_error_code(ArchiveError error);
[[nodiscard]] std::error_code make_error_code(EntryError error);
[[nodiscard]] std::error_code make_error_code(DataError error);
[[nodiscard]] std::error_code make_error_code(CompressionError error);

} // namespace vellomir::archive

template <>
struct std::is_error_code_enum<vellomir::archive::ArchiveError> : std::true_type {};
template <>
struct std::is_error_code_enum<vellomir::archive::EntryError> : std::true_type {};
template <>
struct std::is_error_code_enum<vellomir::archive::DataError> : std::true_type {};
template <>
struct std::is_error_code_enum<vellomir::archive::CompressionError> : std::true_type {};
