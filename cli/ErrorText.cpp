#include "cli/ErrorText.h"

#include "archive/TextEncoding.h"
#include "files/FileStatus.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <new>

namespace vellomir::cli {
namespace {

constexpr std::string_view hiddenName = "/.vellomir-";

bool isMissing(const std::string &path) {
    return !isAllowed(Permission::exist, path) && errno == ENOENT;
}

/// Whether the folder of the file is what refused it.
bool isFoldersFault(const Error &error) {
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

std::string sentence(const Error &error) {
    std::string text = error.what();
    const std::string path = printable(error.path());
    const bool hasFolder = path.find('/') != std::string::npos;
    const std::size_t found = hasFolder ? text.rfind(path) : std::string::npos;
    if (found != std::string::npos && isFoldersFault(error))
        text.replace(found, path.size(), printable(folderOf(error.path())));
    return text;
}

} // namespace

std::string describe(const std::exception &error) {
    if (const auto *known = dynamic_cast<const Error *>(&error))
        return sentence(*known) + " (" + known->name() + ")";
    if (dynamic_cast<const std::bad_alloc *>(&error) != nullptr)
        return "there is not enough memory";
    return error.what();
}

Error whileWriting(const std::string &path, const Error &error) {
    return error.systemError() == 0 ? error : error.about({}, path);
}

std::string withoutHiddenNames(std::string text) {
    for (std::size_t start = text.find(hiddenName); start != std::string::npos;
         // From a little before the gap: the texts around it may form such a name again.
         start = text.find(hiddenName, start - std::min(start, hiddenName.size()))) {
        std::size_t end = start + hiddenName.size();
        while (end < text.size() &&
               (text[end] == '/' || std::isalnum(static_cast<unsigned char>(text[end])) != 0))
            ++end;
        text.erase(start, end - start);
    }
    return text;
}

std::string errorLine(const std::string &text) {
    return "vellomir-cli: " + printable(text) + "\n";
}

} // namespace vellomir::cli
