#include "cli/ChangeReport.h"

#include "cli/Destination.h"

#include "files/FileContent.h"
#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <cerrno>

namespace vellomir::cli {
namespace {

constexpr mode_t reportMode = 0666; // subject to the umask

/// Throws if something is there that the report may not replace: also a link, which is no regular
/// file.
void requireReportPlace(const FilePlace &place, bool mayReplace) {
    const auto status = statusOf(place, Links::refuse);
    if (!status)
        return;
    if (!status->isRegularFile())
        throw Error(FileError::fileWriteFileExists,
                    {.path = place.path,
                     .detail = "Something that is no regular file is in the way of the report"});
    if (!mayReplace)
        throw existsAlready(place.path);
}

/// Returns the path for `PendingFile`.
std::string checked(const std::string &path, const std::string &package, bool mayReplace) {
    if (isSameItem(statusOf(path, Links::follow), statusOf(package, Links::follow)))
        throw Error(FileError::fileWriteFileExists,
                    {.path = path, .detail = "The report would replace the package"});
    requireReportPlace({.name = path, .path = path}, mayReplace);
    return path;
}

} // namespace

ChangeReport::ChangeReport(const std::string &path, const std::string &package, bool mayReplace)
    : path_(path), mayReplace_(mayReplace), file_(checked(path, package, mayReplace)) {}

bool ChangeReport::isAt(int folder, const std::string &name) const {
    const FilePlace place = file_.destination();
    return nameOf(place.name) == name && isSameItem(statusOf(folder), statusOf(place.folder));
}

void ChangeReport::write(const std::string &json) const {
    FileDescriptor file = createFile(file_.path(), Access::write, reportMode);
    if (!file.isOpen())
        throw writeError(path_, errno);
    writeAll(file.get(), std::as_bytes(std::span(json)), path_);
    if (!file.close())
        throw writeError(path_, errno);
}

void ChangeReport::place(DeliveredFiles &delivered) {
    delivered.deliver(file_.destination(), [this] {
        requireReportPlace(file_.destination(),
                           mayReplace_); // something may have been put there meanwhile
        file_.place(mayReplace_ ? Existing::replace : Existing::refuse);
    });
}

} // namespace vellomir::cli
