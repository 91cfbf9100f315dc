#include "files/WholeFile.h"

#include "files/Error.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vellomir {
namespace {

constexpr std::size_t blockSize = std::size_t{1} << 24U;

} // namespace

std::uint64_t regularFileSize(const FileDescriptor &file, const std::string &path) {
    struct stat status {};
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
        throw readError(path, errno);
    if (!S_ISREG(status.st_mode))
        throw Error(FileError::fileReadUnknown, {.path = path, .detail = "This is no file"});
    return static_cast<std::uint64_t>(status.st_size);
}

std::vector<std::byte> readWholeFile(const FileDescriptor &file, const std::string &path,
                                     std::size_t limit, const std::function<void()> &beforeBlock) {
    const std::uint64_t size = regularFileSize(file, path);
    if (size > limit)
        throw Error(FileError::fileReadTooLarge, {.path = path});
    std::vector<std::byte> bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    std::size_t done = 0;
    while (done < size) {
        if (done == bytes.size()) {
            beforeBlock();
            bytes.resize(std::min(static_cast<std::size_t>(size), done + blockSize));
        }
        const ssize_t count = ::read(file.get(), bytes.data() + done, bytes.size() - done);
        if (count < 0 && errno != EINTR)
            throw readError(path, errno);
        if (count == 0)
            break; // cut meanwhile
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    bytes.resize(done);
    return bytes;
}

} // namespace vellomir
