#include "archive/ItemListing.h"

#include "archive/Error.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace archive {
namespace {

struct Child {
    std::string name;
    bool isFolder;
};

struct CloseFolder {
    void operator()(DIR *folder) const { ::closedir(folder); }
};

bool isFolder(const dirent &item, const std::string &path) {
    if (item.d_type != DT_UNKNOWN)
        return item.d_type == DT_DIR;
    struct stat status {};
    return ::lstat((path + '/' + item.d_name).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::vector<Child> children(const std::string &path) {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder)
        throw readError(path, errno);
    std::vector<Child> found;
    errno = 0;
    while (const dirent *item = ::readdir(folder.get())) {
        const std::string name = item->d_name;
        if (name != "." && name != "..")
            found.push_back({name, isFolder(*item, path)});
        errno = 0;
    }
    if (errno != 0)
        throw readError(path, errno);
    return found;
}

} // namespace

std::vector<std::string> subpaths(const URL &folder) {
    const std::string root = folder.path() + '/';
    std::vector<std::string> found;
    // Still to be visited, the next one last.
    std::vector<Child> pending = children(folder.path());
    std::reverse(pending.begin(), pending.end());
    while (!pending.empty()) {
        Child next = std::move(pending.back());
        pending.pop_back();
        if (next.isFolder) {
            std::vector<Child> below = children(root + next.name);
            for (auto child = below.rbegin(); child != below.rend(); ++child)
                pending.push_back({next.name + '/' + child->name, child->isFolder});
        }
        found.push_back(std::move(next.name));
    }
    return found;
}

} // namespace archive
