#include "files/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vellomir {
namespace {

constexpr int folderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int listFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr int fileFlags = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

int flagsOf(Access access) {
    switch (access) {
    case Access::read:
        return O_RDONLY;
    case Access::write:
        return O_WRONLY;
    case Access::readAndWrite:
        break;
    }
    return O_RDWR;
}

int flagsOf(Links links) {
    return links == Links::refuse ? O_NOFOLLOW : 0;
}

int flagsOf(IfThere ifThere) {
    switch (ifThere) {
    case IfThere::refuse:
        return O_CREAT | O_EXCL;
    case IfThere::open:
        return O_CREAT;
    case IfThere::empty:
        break;
    }
    return O_CREAT | O_TRUNC;
}

/// Containers may answer EPERM to calls that they do not know.
bool isMissingCall(int systemError) {
    return systemError == ENOSYS || systemError == EPERM;
}

} // namespace

FileDescriptor::~FileDescriptor() {
    if (isOpen())
        ::close(descriptor_);
}

bool FileDescriptor::close() {
    return ::close(release()) == 0 || errno == EINTR;
}

FileDescriptor openFile(const ItemName &item, Access access, Links links) {
    return FileDescriptor(
        ::openat(item.folder(), item.name(), flagsOf(access) | flagsOf(links) | fileFlags));
}

FileDescriptor createFile(const ItemName &item, Access access, mode_t mode, IfThere ifThere) {
    const int flags = flagsOf(access) | flagsOf(ifThere) | O_NOFOLLOW | fileFlags;
    return FileDescriptor(::openat(item.folder(), item.name(), flags, mode));
}

FileDescriptor openFolder(const ItemName &folder, FolderUse use, Links links) {
    const int flags = use == FolderUse::list ? listFlags : folderFlags;
    return FileDescriptor(::openat(folder.folder(), folder.name(), flags | flagsOf(links)));
}

FileDescriptor openItem(const ItemName &item) {
    return FileDescriptor(::openat(item.folder(), item.name(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

FileDescriptor openBelow(int folder, const std::string &path) {
    open_how how{};
    how.flags = folderFlags | O_NOFOLLOW;
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
        opened = openFolder({folder, path.substr(start, end - start)}, FolderUse::names);
        if (!opened.isOpen())
            return opened;
        folder = opened.get();
        start = end + 1;
    }
    return opened;
}

FileDescriptor duplicate(int descriptor) {
    return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
}

std::string descriptorPath(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

} // namespace vellomir
