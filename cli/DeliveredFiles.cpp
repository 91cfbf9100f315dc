#include "cli/DeliveredFiles.h"

#include "files/Error.h"

#include <algorithm>
#include <optional>

namespace vellomir::cli {
namespace {

void add(std::vector<ItemIdentity> &items, const std::optional<FileStatus> &status) {
    if (status)
        items.push_back(status->identity());
}

void requireOther(const FileStatus &status, const std::vector<ItemIdentity> &items,
                  const FilePlace &place, const char *detail) {
    if (std::find(items.begin(), items.end(), status.identity()) != items.end())
        throw Error(FileError::fileWriteFileExists, {.path = place.path, .detail = detail});
}

} // namespace

DeliveredFiles::DeliveredFiles(const std::vector<std::string> &packages) {
    for (const std::string &package : packages) {
        add(packages_, statusOf(package, Links::follow));
        add(packages_, statusOf(package, Links::refuse)); // the link itself, if it is one
    }
}

void DeliveredFiles::deliver(const FilePlace &place, const std::function<void()> &putInPlace) {
    const std::lock_guard guard(lock_);
    if (const auto status = statusOf(place, Links::refuse)) {
        requireOther(*status, packages_, place, "The copy would replace a package of this run");
        requireOther(*status, results_, place,
                     "Another copy of this run has this name; --output may hold {number}, "
                     "{package} or {identifier}");
    }
    putInPlace();
    add(results_, statusOf(place, Links::refuse));
}

} // namespace vellomir::cli
