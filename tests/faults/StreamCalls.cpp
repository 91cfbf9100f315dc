// Streams whose reads, writes, seeks and closing are the calls of SystemCalls.cpp: the C library's
// own streams make theirs where nothing can be put in front of them.

#include "tests/faults/CallPlan.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <unistd.h>

namespace vellomir {

namespace {

/// A stream and its descriptor, in a list without allocations: they are what is counted.
struct WatchedStream {
    std::FILE *file = nullptr;
    int descriptor = -1;
};

constexpr std::size_t maxStreams = 64;
constinit std::array<WatchedStream, maxStreams> streams;
constinit std::mutex streamsLock;

WatchedStream *find(const std::FILE *file) {
    const auto found = std::find_if(streams.begin(), streams.end(),
                                    [&](const WatchedStream &each) { return each.file == file; });
    return found == streams.end() ? nullptr : &*found;
}

int descriptorOf(void *cookie) {
    return static_cast<WatchedStream *>(cookie)->descriptor;
}

ssize_t readStream(void *cookie, char *buffer, std::size_t size) {
    return ::read(descriptorOf(cookie), buffer, size);
}

/// All of it, in as many calls as it takes, as the C library's own streams do.
ssize_t writeStream(void *cookie, const char *buffer, std::size_t size) {
    std::size_t written = 0;
    while (written < size) {
        const ssize_t count = ::write(descriptorOf(cookie), buffer + written, size - written);
        if (count < 0)
            break;
        written += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(written);
}

int seekStream(void *cookie, off64_t *offset, int whence) {
    const off64_t position = ::lseek64(descriptorOf(cookie), *offset, whence);
    if (position < 0)
        return -1;
    *offset = position;
    return 0;
}

int closeStream(void *cookie) {
    const int descriptor = descriptorOf(cookie);
    {
        const std::lock_guard lock(streamsLock);
        *static_cast<WatchedStream *>(cookie) = {};
    }
    return ::close(descriptor);
}

std::FILE *watch(int descriptor, const char *mode) {
    const std::lock_guard lock(streamsLock);
    WatchedStream *const place = find(nullptr);
    if (place == nullptr)
        std::abort(); // a test opens more streams than expected
    place->descriptor = descriptor;
    place->file =
        ::fopencookie(place, mode, {&readStream, &writeStream, &seekStream, &closeStream});
    if (place->file == nullptr)
        place->descriptor = -1;
    return place->file;
}

int openFlags(const char *mode) {
    const bool isUpdate = std::strchr(mode, '+') != nullptr;
    const int access = isUpdate ? O_RDWR : *mode == 'r' ? O_RDONLY : O_WRONLY;
    const int creation = *mode == 'r' ? 0 : *mode == 'w' ? O_CREAT | O_TRUNC : O_CREAT | O_APPEND;
    return access | creation | (std::strchr(mode, 'x') != nullptr ? O_EXCL : 0) |
           (std::strchr(mode, 'e') != nullptr ? O_CLOEXEC : 0);
}

template <typename Function>
Function *behind(const char *name) {
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

std::FILE *fdopen(int descriptor, const char *mode) noexcept {
    static auto *const real = behind<decltype(::fdopen)>("fdopen");
    if (!test::isWatching())
        return real(descriptor, mode);
    return test::fails(test::Call::open) ? nullptr : watch(descriptor, mode);
}

std::FILE *fopen(const char *path, const char *mode) {
    static auto *const real = behind<decltype(::fopen)>("fopen");
    if (!test::isWatching())
        return real(path, mode);
    const int descriptor = ::open(path, openFlags(mode), 0666);
    std::FILE *const file = descriptor < 0 ? nullptr : watch(descriptor, mode);
    if (descriptor >= 0 && file == nullptr)
        ::close(descriptor);
    return file;
}

std::FILE *fopen64(const char *path, const char *mode) {
    return ::fopen(path, mode);
}

int fileno(std::FILE *file) noexcept {
    static auto *const real = behind<decltype(::fileno)>("fileno");
    const std::lock_guard lock(streamsLock);
    const WatchedStream *const stream = find(file);
    return stream == nullptr ? real(file) : stream->descriptor;
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
}

} // namespace vellomir
