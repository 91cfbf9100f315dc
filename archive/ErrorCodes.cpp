// The names and sentences of the engine's error codes.

#include "archive/Error.h"
#include "files/ErrorCategory.h"

#include <array>

namespace vellomir::archive {
namespace {

using Category = ErrorCategory;

constexpr std::array archiveErrors = {
    Category::Line{"unreadableArchive", "The archive cannot be read"},
    Category::Line{"unwritableArchive", "The archive cannot be written"},
    Category::Line{"invalidEntryPath", "The path is not valid UTF-8 text or too long"},
    Category::Line{"invalidCompressionMethod",
                   "The data is compressed by a method other than DEFLATE"},
    Category::Line{"invalidCRC32", "The data is damaged: its checksum is not the promised one"},
    Category::Line{"cancelledOperation", "The operation was cancelled"},
    Category::Line{"invalidBufferSize", "The buffer size must be greater than 0"},
    Category::Line{"invalidEntrySize", "The size is one that no entry can have"},
    Category::Line{"invalidLocalHeaderDataOffset", "The data lies beyond any file's end"},
    Category::Line{"invalidLocalHeaderSize", "The entry is larger than any file"},
    Category::Line{"invalidCentralDirectoryOffset", "The directory lies beyond any file's end"},
    Category::Line{"invalidCentralDirectorySize", "The directory's size cannot be right"},
    Category::Line{"invalidCentralDirectoryEntryCount", "The archive holds too many entries"},
    Category::Line{"missingEndOfCentralDirectoryRecord", "The archive has no end record"},
};

constexpr std::array entryErrors = {
    Category::Line{"invalidDataError", "The extra field is damaged"},
};

constexpr std::array dataErrors = {
    Category::Line{"unreadableFile", "The file cannot be read"},
    Category::Line{"unwritableFile", "The file cannot be written"},
};

constexpr std::array compressionErrors = {
    Category::Line{"invalidStream", "The compression could not be set up"},
    Category::Line{"corruptedData", "The compressed data is damaged or cut short"},
};

constinit const Category archiveCategory("ArchiveError", archiveErrors);
constinit const Category entryCategory("EntryError", entryErrors);
constinit const Category dataCategory("DataError", dataErrors);
constinit const Category compressionCategory("CompressionError", compressionErrors);
} // namespace

std::error_code make_error_code(ArchiveError error) {
    return {static_cast<int>(error), archiveCategory};
}

std::error_code make_error_code(EntryError error) {
    return {static_cast<int>(error), entryCategory};
}

std::error_code make_error_code(DataError error) {
    return {static_cast<int>(error), dataCategory};
}

std::error_code make_error_code(CompressionError error) {
    return {static_cast<int>(error), compressionCategory};
}

} // namespace vellomir::archive
