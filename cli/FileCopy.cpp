#include "cli/FileCopy.h"

#include "cli/Interruption.h"

#include "archive/Error.h"
#include "archive/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace cli {
namespace {

using archive::FileDescriptor;

constexpr std::size_t kernelChunkSize = std::size_t{8} << 20U;
constexpr std::size_t bufferSize = std::size_t{1} << 18U;

struct Pair {
    FileDescriptor source;
    FileDescriptor copy;
    const std::string &from;
    const std::string &to;
};

/// By the kernel, without a way through this process; false if these two files are not for that and
/// nothing was copied.
bool copyInKernel(const Pair &files) {
    bool hasCopied = false;
    while (true) {
        Interruption::throwIfInterrupted();
        const ssize_t count = ::copy_file_range(files.source.get(), nullptr, files.copy.get(),
                                                nullptr, kernelChunkSize, 0);
        if (count == 0)
            return hasCopied; // some file systems answer so without having looked
        if (count > 0) {
            hasCopied = true;
        } else if (!hasCopied && errno != ENOSPC && errno != EDQUOT && errno != EFBIG) {
            return false;
        } else if (errno != EINTR) {
            throw archive::writeError(files.to, errno);
        }
    }
}

void write(const Pair &files, const char *bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t count = ::write(files.copy.get(), bytes, size);
        if (count < 0 && errno != EINTR)
            throw archive::writeError(files.to, errno);
        bytes += std::max<ssize_t>(count, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

void copyInChunks(const Pair &files) {
    std::vector<char> buffer(bufferSize);
    while (true) {
        Interruption::throwIfInterrupted();
        const ssize_t count = ::read(files.source.get(), buffer.data(), buffer.size());
        if (count == 0)
            return;
        if (count > 0)
            write(files, buffer.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw archive::readError(files.from, errno);
    }
}

FileDescriptor openRegular(const std::string &path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        throw archive::readError(path, errno);
    if (!S_ISREG(status.st_mode))
        throw archive::Error(archive::FileError::fileReadUnknown,
                             {.path = path, .detail = "This is not a regular file"});
    return file;
}

} // namespace

void copyFile(const std::string &from, const std::string &to) {
    FileDescriptor source = openRegular(from);
    FileDescriptor copy(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!copy.isOpen())
        throw archive::writeError(to, errno);
    const Pair files{std::move(source), std::move(copy), from, to};
    if (::ioctl(files.copy.get(), FICLONE, files.source.get()) != 0 && !copyInKernel(files))
        copyInChunks(files);
}

/// The owner first: changing it may take permission bits away.
void copyAttributes(const std::string &from, const std::string &to) {
    struct stat status {};
    if (::stat(from.c_str(), &status) != 0)
        throw archive::readError(from, errno);
    // Only the superuser may give files away; the group may still be one of the user's own.
    if (::chown(to.c_str(), status.st_uid, status.st_gid) != 0)
        static_cast<void>(::chown(to.c_str(), static_cast<uid_t>(-1), status.st_gid) == 0);
    if (::chmod(to.c_str(), status.st_mode & 07777U) != 0)
        throw archive::writeError(to, errno);
}

} // namespace cli
