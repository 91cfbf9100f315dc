#include "files/PositionedStream.h"

#include "files/FileStatus.h"

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <unistd.h>

namespace vellomir {
namespace {

/// What the stream's cookie points to.
struct PositionedFile {
    FileDescriptor descriptor;
    std::int64_t position = 0;
};

ssize_t readAtPosition(void *cookie, char *buffer, std::size_t size) {
    auto &file = *static_cast<PositionedFile *>(cookie);
    ssize_t count = -1;
    do
        count = ::pread(file.descriptor.get(), buffer, size, file.position);
    while (count < 0 && errno == EINTR);
    file.position += count > 0 ? count : 0;
    return count;
}

/// All bytes, or 0 after an error: the C library takes fewer bytes for an error, and no other value
/// for one.
ssize_t writeAtPosition(void *cookie, const char *buffer, std::size_t size) {
    auto &file = *static_cast<PositionedFile *>(cookie);
    for (std::size_t written = 0; written < size;) {
        const ssize_t count =
            ::pwrite(file.descriptor.get(), buffer + written, size - written, file.position);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return 0;
        written += static_cast<std::size_t>(count);
        file.position += count;
    }
    return static_cast<ssize_t>(size);
}

std::optional<std::int64_t> startOf(const PositionedFile &file, int whence) {
    if (whence == SEEK_SET)
        return 0;
    if (whence == SEEK_CUR)
        return file.position;
    const auto status = statusOf(file.descriptor.get());
    return status ? std::optional(status->size()) : std::nullopt;
}

int seekPosition(void *cookie, off64_t *offset, int whence) {
    auto &file = *static_cast<PositionedFile *>(cookie);
    const auto start = startOf(file, whence);
    if (!start)
        return -1;
    std::int64_t position = 0;
    if (__builtin_add_overflow(*start, *offset, &position) || position < 0) {
        errno = EINVAL;
        return -1;
    }
    file.position = position;
    *offset = position;
    return 0;
}

int closePositioned(void *cookie) {
    delete static_cast<PositionedFile *>(cookie);
    return 0;
}

/// As `fopencookie` has it; no mode empties the file.
const char *modeOf(Access access) {
    return access == Access::read ? "r" : access == Access::write ? "w" : "r+";
}

} // namespace

std::FILE *openPositionedStream(FileDescriptor file, Access access) {
    std::unique_ptr<PositionedFile> cookie(new (std::nothrow) PositionedFile);
    if (!cookie)
        return nullptr;
    cookie->descriptor = std::move(file);
    std::FILE *const stream =
        ::fopencookie(cookie.get(), modeOf(access),
                      {&readAtPosition, &writeAtPosition, &seekPosition, &closePositioned});
    if (stream != nullptr)
        static_cast<void>(cookie.release()); // the stream's own from here on
    return stream;
}

} // namespace vellomir
