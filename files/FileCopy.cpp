#include "files/FileCopy.h"

#include "files/Error.h"
#include "files/FileContent.h"
#include "files/ItemAttributes.h"

#include <cerrno>
#include <linux/fs.h>
#include <span>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vellomir {
namespace {

constexpr std::size_t kernelChunkSize = std::size_t{8} << 20U;
constexpr std::size_t bufferSize = std::size_t{1} << 18U;

/// Lets the kernel copy, without the bytes passing through this process. False if it cannot do that
/// for these two files; then nothing was copied.
bool copyInKernel(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk) {
    bool hasCopied = false;
    std::size_t last = 0;
    while (true) {
        beforeChunk(last);
        last = 0;
        const ssize_t count = ::copy_file_range(
            source.descriptor.get(), nullptr, target.descriptor.get(), nullptr, kernelChunkSize, 0);
        if (count == 0)
            return hasCopied; // some file systems report the end without reading
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

void copyInChunks(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk) {
    std::vector<std::byte> buffer(bufferSize);
    std::size_t last = 0;
    do {
        beforeChunk(last);
        const auto count = readInto(source.descriptor.get(), buffer);
        if (!count)
            throw readError(source.path, errno);
        last = *count;
        writeAll(target.descriptor.get(), std::span(buffer).first(last), target.path);
    } while (last == buffer.size());
    beforeChunk(last);
}

OpenFile openRegular(const std::string &path) {
    FileDescriptor file = openFile(path, Access::read);
    if (!file.isOpen())
        throw readError(path, errno);
    if (!requireStatus(file.get(), path).isRegularFile())
        throw Error(FileError::fileReadUnknown,
                    {.path = path, .detail = "This is not a regular file"});
    return {std::move(file), path};
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
    copyFile(openRegular(from), to, beforeChunk);
}

void copyFile(const OpenFile &from, const std::string &to, const BeforeChunk &beforeChunk) {
    const OpenFile target{createFile(to, Access::write, S_IRUSR | S_IWUSR), to};
    if (!target.descriptor.isOpen())
        throw writeError(to, errno);
    copyContent(from, target, beforeChunk);
}

void copyAttributes(int from, const std::string &to) {
    const auto status = statusOf(from);
    const FileDescriptor target = status ? openFile(to, Access::read) : FileDescriptor();
    if (!target.isOpen())
        throw writeError(to, errno);
    takeOverAttributes(target, *status, to);
}

} // namespace vellomir
