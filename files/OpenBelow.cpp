#include "files/OpenBelow.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/syscall.h>

namespace vellomir {
namespace {

/// Containers may answer EPERM to calls that they do not know.
bool isMissingCall(int systemError) {
    return systemError == ENOSYS || systemError == EPERM;
}

} // namespace

FileDescriptor openBelow(int folder, const std::string &path) {
    open_how how{};
    how.flags = folderFlags;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    FileDescriptor opened(
        static_cast<int>(::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof(how))));
    return !opened.isOpen() && isMissingCall(errno) ? openBelowByComponents(folder, path)
                                                    : std::move(opened);
}

FileDescriptor openBelowByComponents(int folder, const std::string &path) {
    FileDescriptor opened;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        opened =
            FileDescriptor(::openat(folder, path.substr(start, end - start).c_str(), folderFlags));
        if (!opened.isOpen())
            return opened;
        folder = opened.get();
        start = end + 1;
    }
    return opened;
}

} // namespace vellomir
