#include "files/Error.h"

#include "files/ErrorCategory.h"
#include "files/PrintableText.h"

#include <array>
#include <cerrno>
#include <utility>

namespace vellomir {
namespace {

using Category = ErrorCategory;

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

} // namespace vellomir
