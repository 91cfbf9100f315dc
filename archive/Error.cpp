#include "archive/Error.h"

#include "archive/Archive.h"
#include "archive/ErrorCategory.h"
#include "archive/TextEncoding.h"

#include <array>
#include <cerrno>
#include <utility>

namespace archive {
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

constexpr std::array fileErrors = {
    Category::Line{"fileNoSuchFile", "The file cannot be opened"},
    Category::Line{"fileReadNoSuchFile", "There is no such file"},
    Category::Line{"fileReadNoPermission", "The file may not be read"},
    Category::Line{"fileReadInvalidFileName", "The name is not one that can be read"},
    Category::Line{"fileReadTooLarge", "The file has an impossible size"},
    Category::Line{"fileReadUnknown", "The file cannot be read"},
    Category::Line{"fileWriteFileExists", "The file exists already"},
    Category::Line{"fileWriteNoPermission", "The file may not be written"},
    Category::Line{"fileWriteOutOfSpace", "There is no room left"},
    Category::Line{"fileWriteUnknown", "The file cannot be written"},
};

constinit const Category archiveCategory("ArchiveError", archiveErrors);
constinit const Category entryCategory("EntryError", entryErrors);
constinit const Category dataCategory("DataError", dataErrors);
constinit const Category compressionCategory("CompressionError", compressionErrors);
constinit const Category fileCategory("FileError", fileErrors);

/// "Sentence (entry a/b): /path/to/file: No space left on device"
std::string describe(std::error_code code, const ErrorContext &context) {
    std::string text = context.detail.empty() ? code.message() : context.detail;
    if (!context.entry.empty())
        text += " (entry " + printable(context.entry) + ")";
    if (!context.path.empty())
        text += ": " + printable(context.path);
    if (context.systemError != 0)
        text += ": " + std::generic_category().message(context.systemError);
    return text;
}

FileError readCode(int systemError) {
    switch (systemError) {
    case ENOENT:
    case ENOTDIR:
        return FileError::fileReadNoSuchFile;
    case EACCES:
    case EPERM:
        return FileError::fileReadNoPermission;
    case ELOOP:
    case ENAMETOOLONG:
        return FileError::fileReadInvalidFileName;
    default:
        return FileError::fileReadUnknown;
    }
}

FileError writeCode(int systemError) {
    switch (systemError) {
    case EEXIST:
        return FileError::fileWriteFileExists;
    case ENOENT:
        return FileError::fileNoSuchFile;
    case EACCES:
    case EPERM:
    case EROFS:
        return FileError::fileWriteNoPermission;
    case ENOSPC:
    case EDQUOT:
        return FileError::fileWriteOutOfSpace;
    default:
        return FileError::fileWriteUnknown;
    }
}

} // namespace

std::error_code make_error_code(Archive::ArchiveError error) {
    return {static_cast<int>(error), archiveCategory};
}

std::error_code make_error_code(Entry::EntryError error) {
    return {static_cast<int>(error), entryCategory};
}

std::error_code make_error_code(Data::DataError error) {
    return {static_cast<int>(error), dataCategory};
}

std::error_code make_error_code(Data::CompressionError error) {
    return {static_cast<int>(error), compressionCategory};
}

std::error_code make_error_code(FileError error) {
    return {static_cast<int>(error), fileCategory};
}

Error::Error(std::error_code code, ErrorContext context)
    : std::system_error(code), context_(std::move(context)),
      description_(describe(code, context_)) {}

std::string Error::name() const {
    const auto *category = dynamic_cast<const Category *>(&code().category());
    return category == nullptr
               ? std::string(code().category().name())
               : std::string(category->name()) + "." + category->line(code().value()).name;
}

Error Error::about(const std::string &entry, const std::string &path) const {
    ErrorContext context = context_;
    if (context.entry.empty())
        context.entry = entry;
    if (context.path.empty())
        context.path = path;
    return Error(code(), std::move(context));
}

Error readError(std::string path, int systemError) {
    return Error(readCode(systemError), {.path = std::move(path), .systemError = systemError});
}

Error writeError(std::string path, int systemError) {
    return Error(writeCode(systemError), {.path = std::move(path), .systemError = systemError});
}

} // namespace archive
