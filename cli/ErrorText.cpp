#include "cli/ErrorText.h"

#include "archive/TextEncoding.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <new>
#include <utility>

namespace vellomir::cli {
namespace {

bool isMissing(const std::string &path) {
    return !isAllowed(Permission::exist, path) && errno == ENOENT;
}

/// Whether the folder of the file is what refused it.
bool isFoldersFault(const Error &error) {
    if (error.path().find('/') == std::string::npos)
        return false;
    switch (error.systemError()) {
    case ENOSPC:
    case EDQUOT:
        return true;
    case EACCES:
    case EROFS:
        return !isAllowed(Permission::write, folderOf(error.path())) &&
               (isMissing(error.path()) || isAllowed(Permission::write, error.path()));
    default:
        return false;
    }
}

/// The same error about the folder of its file.
Error aboutFolder(const Error &error) {
    ErrorContext context = error.context();
    context.path = folderOf(context.path);
    return Error(error.code(), std::move(context));
}

} // namespace

std::string describe(const std::exception &error) {
    if (const auto *known = dynamic_cast<const Error *>(&error)) {
        const Error &shown = isFoldersFault(*known) ? aboutFolder(*known) : *known;
        return std::string(shown.what()) + " (" + shown.name() + ")";
    }
    if (dynamic_cast<const std::bad_alloc *>(&error) != nullptr)
        return "there is not enough memory";
    return error.what();
}

Error whileWriting(const std::string &path, const Error &error) {
    return error.systemError() == 0 ? error : error.about({}, path);
}

std::string errorLine(const std::string &text) {
    return "vellomir-cli: " + printable(text) + "\n";
}

} // namespace vellomir::cli
