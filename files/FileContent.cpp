#include "files/FileContent.h"

#include "files/Error.h"
#include "files/FileStatus.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace vellomir {
namespace {

constexpr std::size_t blockSize = std::size_t{1} << 24U;

/// Until a non-blocking stream takes bytes again, or a signal arrives.
void waitUntilWritable(int file) {
    pollfd request{file, POLLOUT, 0};
    ::poll(&request, 1, -1);
}

/// Calls `read` with each rest of the buffer until that is full or the file ends.
template <class Read>
std::optional<std::size_t> fill(std::span<std::byte> buffer, Read read) {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t count = read(buffer.subspan(done), done);
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return std::nullopt;
    }
    return done;
}

} // namespace

std::optional<std::size_t> readInto(int file, std::span<std::byte> buffer) {
    return fill(buffer, [file](std::span<std::byte> rest, std::size_t) {
        return ::read(file, rest.data(), rest.size());
    });
}

std::optional<std::size_t> readAt(int file, std::uint64_t offset, std::span<std::byte> buffer) {
    return fill(buffer, [file, offset](std::span<std::byte> rest, std::size_t done) {
        return ::pread(file, rest.data(), rest.size(), static_cast<off_t>(offset + done));
    });
}

bool writeFully(int file, std::span<const std::byte> bytes, const std::function<bool()> &mayGoOn) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            waitUntilWritable(file);
        else if (errno != EINTR)
            return false;
        if (!bytes.empty() && mayGoOn && !mayGoOn()) {
            errno = EINTR;
            return false;
        }
    }
    return true;
}

void writeAll(int file, std::span<const std::byte> bytes, const std::string &path) {
    if (!writeFully(file, bytes))
        throw writeError(path, errno);
}

std::uint64_t regularFileSize(const FileDescriptor &file, const std::string &path) {
    if (!file.isOpen())
        throw readError(path, errno);
    const FileStatus status = requireStatus(file.get(), path);
    if (!status.isRegularFile())
        throw Error(FileError::fileReadUnknown, {.path = path, .detail = "This is no file"});
    return static_cast<std::uint64_t>(status.size());
}

std::vector<std::byte> readWholeFile(const FileDescriptor &file, const std::string &path,
                                     std::size_t limit, const std::function<void()> &beforeBlock) {
    const std::uint64_t size = regularFileSize(file, path);
    if (size > limit)
        throw Error(FileError::fileReadTooLarge, {.path = path});
    std::vector<std::byte> bytes;
    bytes.reserve(static_cast<std::size_t>(size));
    while (bytes.size() < size) {
        const std::size_t done = bytes.size();
        beforeBlock();
        bytes.resize(std::min(static_cast<std::size_t>(size), done + blockSize));
        const auto count = readInto(file.get(), std::span(bytes).subspan(done));
        if (!count)
            throw readError(path, errno);
        const bool isCut = done + *count < bytes.size(); // by another program meanwhile
        bytes.resize(done + *count);
        if (isCut)
            break;
    }
    return bytes;
}

bool setSize(int file, std::uint64_t size) {
    return ::ftruncate(file, static_cast<off_t>(size)) == 0;
}

bool rewindFile(int file) {
    return ::lseek(file, 0, SEEK_SET) == 0;
}

bool emptyFile(int file) {
    return setSize(file, 0) && rewindFile(file);
}

bool storeOnDisk(int file) {
    return ::fsync(file) == 0;
}

std::FILE *openStream(FileDescriptor file, const char *mode) {
    std::FILE *const stream = ::fdopen(file.get(), mode);
    if (stream != nullptr)
        static_cast<void>(file.release()); // the stream owns it now
    return stream;
}

} // namespace vellomir
