#include "files/FileCopy.h"

#include "files/Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <vector>

namespace vellomir {
namespace {

constexpr std::size_t kernelChunkSize = std::size_t{8} << 20U;
constexpr std::size_t bufferSize = std::size_t{1} << 18U;

/// By the kernel, without a way through this process; false if these two files are not for that and
/// nothing was copied.
bool copyInKernel(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk) {
    bool hasCopied = false;
    std::size_t last = 0;
    while (true) {
        beforeChunk(last);
        last = 0;
        const ssize_t count = ::copy_file_range(
            source.descriptor.get(), nullptr, target.descriptor.get(), nullptr, kernelChunkSize, 0);
        if (count == 0)
            return hasCopied; // some file systems answer so without having looked
        if (count > 0) {
            hasCopied = true;
            last = static_cast<std::size_t>(count);
        } else if (!hasCopied && errno != ENOSPC && errno != EDQUOT && errno != EFBIG) {
            return false;
        } else if (errno != EINTR) {
            throw writeError(target.path, errno);
        }
    }
}

void write(const OpenFile &target, const char *bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::write(target.descriptor.get(), bytes, size);
        if (count < 0 && errno != EINTR)
            throw writeError(target.path, errno);
        bytes += std::max<ssize_t>(count, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

void copyInChunks(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk) {
    std::vector<char> buffer(bufferSize);
    std::size_t last = 0;
    while (true) {
        beforeChunk(last);
        last = 0;
        const ssize_t count = ::read(source.descriptor.get(), buffer.data(), buffer.size());
        if (count == 0)
            return;
        if (count < 0 && errno != EINTR)
            throw readError(source.path, errno);
        last = static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        write(target, buffer.data(), last);
    }
}

FileDescriptor openRegular(const std::string &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        throw readError(path, errno);
    if (!S_ISREG(status.st_mode))
        throw Error(FileError::fileReadUnknown,
                    {.path = path, .detail = "This is not a regular file"});
    return file;
}

} // namespace

void copyContent(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk) {
    if (::ioctl(target.descriptor.get(), FICLONE, source.descriptor.get()) == 0)
        return;
    const BeforeChunk called = beforeChunk ? beforeChunk : [](std::size_t) {};
    if (!copyInKernel(source, target, called))
        copyInChunks(source, target, called);
}

void copyFile(const std::string &from, const std::string &to, const BeforeChunk &beforeChunk) {
    copyFile(OpenFile{openRegular(from), from}, to, beforeChunk);
}

void copyFile(const OpenFile &from, const std::string &to, const BeforeChunk &beforeChunk) {
    const OpenFile target{
        FileDescriptor(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600)), to};
    if (!target.descriptor.isOpen())
        throw writeError(to, errno);
    copyContent(from, target, beforeChunk);
}

/// The owner first: changing it may take permission bits away.
void copyAttributes(int from, const std::string &to) {
    struct stat status {};
    if (::fstat(from, &status) != 0)
        throw writeError(to, errno);
    // Only the superuser may give files away; the group may still be one of the user's own.
    if (::chown(to.c_str(), status.st_uid, status.st_gid) != 0)
        static_cast<void>(::chown(to.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0);
    if (::chmod(to.c_str(), status.st_mode & 07777U) != 0)
        throw writeError(to, errno);
}

} // namespace vellomir
