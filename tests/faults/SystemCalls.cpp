// The system calls of the test program, in front of those of the C library. Each counts itself and
// fails if the plan says so, else does what it always does.

#include "tests/faults/CallPlan.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iconv.h>
#include <linux/fs.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vellomir {

using test::Call;
using test::fails;

namespace {

/// The C library's own function, or the sanitizer's in front of it.
template <typename Function>
Function *behind(const char *name) {
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace

/// REAL(name): the function behind the one of this name, found once.
#define REAL(name)                                                                                 \
    [] {                                                                                           \
        static auto *const found = behind<decltype(::name)>(#name);                                \
        return found;                                                                              \
    }()

/// A function that fails as planned, with a result of its own, or hands its arguments on.
#define PASS(call, result, failure, name, parameters, arguments)                                   \
    result name parameters {                                                                       \
        return fails(call) ? (failure) : REAL(name) arguments;                                     \
    }

extern "C" {

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name,*-reserved-identifier)

int open(const char *path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return fails(Call::open) ? -1 : REAL(open)(path, flags, mode);
}

int openat(int folder, const char *path, int flags, ...) {
    std::va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return fails(Call::open) ? -1 : REAL(openat)(folder, path, flags, mode);
}

// Reads six arguments, however many there are, as the C library does.
[[gnu::no_sanitize_address]] long syscall(long number, ...) noexcept {
    std::va_list rest;
    va_start(rest, number);
    std::array<long, 6> arguments{};
    for (long &argument : arguments)
        argument = va_arg(rest, long);
    va_end(rest);
    if (number == SYS_openat2 && fails(Call::open))
        return -1;
    const auto &[first, second, third, fourth, fifth, sixth] = arguments;
    return REAL(syscall)(number, first, second, third, fourth, fifth, sixth);
}

int fcntl(int file, int command, ...) {
    std::va_list rest;
    va_start(rest, command);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    if ((command == F_DUPFD || command == F_DUPFD_CLOEXEC) && fails(Call::open))
        return -1;
    return REAL(fcntl)(file, command, argument);
}

int ioctl(int file, unsigned long request, ...) noexcept {
    std::va_list rest;
    va_start(rest, request);
    void *const argument = va_arg(rest, void *);
    va_end(rest);
    if (request == FICLONE && fails(Call::copy))
        return -1;
    return REAL(ioctl)(file, request, argument);
}

iconv_t iconv_open(const char *to, const char *from) {
    return fails(Call::open) ? reinterpret_cast<iconv_t>(-1) : REAL(iconv_open)(to, from);
}

ssize_t read(int file, void *buffer, std::size_t size) {
    const ssize_t allowed = test::allowedSize(Call::read, size);
    return allowed < 0 ? -1 : REAL(read)(file, buffer, static_cast<std::size_t>(allowed));
}

ssize_t write(int file, const void *buffer, std::size_t size) {
    const ssize_t allowed = test::allowedSize(Call::write, size);
    return allowed < 0 ? -1 : REAL(write)(file, buffer, static_cast<std::size_t>(allowed));
}

ssize_t pread(int file, void *buffer, std::size_t size, off_t offset) {
    const ssize_t allowed = test::allowedSize(Call::read, size);
    return allowed < 0 ? -1 : REAL(pread)(file, buffer, static_cast<std::size_t>(allowed), offset);
}

ssize_t pwrite(int file, const void *buffer, std::size_t size, off_t offset) {
    const ssize_t allowed = test::allowedSize(Call::write, size);
    return allowed < 0 ? -1 : REAL(pwrite)(file, buffer, static_cast<std::size_t>(allowed), offset);
}

ssize_t copy_file_range(int from, off64_t *fromOffset, int to, off64_t *toOffset, std::size_t size,
                        unsigned flags) {
    const ssize_t allowed = test::allowedSize(Call::copy, size);
    return allowed < 0 ? -1
                       : REAL(copy_file_range)(from, fromOffset, to, toOffset,
                                               static_cast<std::size_t>(allowed), flags);
}

PASS(Call::seek, off_t, -1, lseek, (int file, off_t offset, int whence) noexcept,
     (file, offset, whence))
PASS(Call::seek, off64_t, -1, lseek64, (int file, off64_t offset, int whence) noexcept,
     (file, offset, whence))
PASS(Call::flush, int, -1, fsync, (int file), (file))
PASS(Call::flush, int, -1, fdatasync, (int file), (file))
PASS(Call::truncate, int, -1, ftruncate, (int file, off_t size) noexcept, (file, size))

int close(int file) {
    const bool isFailure = fails(Call::close);
    const int error = errno;
    const int result = REAL(close)(file);
    errno = isFailure ? error : errno;
    return isFailure ? -1 : result;
}

int closedir(DIR *folder) {
    const bool isFailure = fails(Call::close);
    const int error = errno;
    const int result = REAL(closedir)(folder);
    errno = isFailure ? error : errno;
    return isFailure ? -1 : result;
}

PASS(Call::rename, int, -1, rename, (const char *from, const char *to) noexcept, (from, to))
PASS(Call::rename, int, -1, renameat,
     (int fromFolder, const char *from, int toFolder, const char *to) noexcept,
     (fromFolder, from, toFolder, to))
PASS(Call::rename, int, -1, renameat2,
     (int fromFolder, const char *from, int toFolder, const char *to, unsigned flags) noexcept,
     (fromFolder, from, toFolder, to, flags))

PASS(Call::makeFolder, int, -1, mkdir, (const char *path, mode_t mode) noexcept, (path, mode))
PASS(Call::makeFolder, int, -1, mkdirat, (int folder, const char *path, mode_t mode) noexcept,
     (folder, path, mode))
PASS(Call::makeFolder, char *, nullptr, mkdtemp, (char *path) noexcept, (path))

PASS(Call::link, int, -1, link, (const char *from, const char *to) noexcept, (from, to))
PASS(Call::link, int, -1, linkat,
     (int fromFolder, const char *from, int toFolder, const char *to, int flags) noexcept,
     (fromFolder, from, toFolder, to, flags))
PASS(Call::link, int, -1, symlinkat, (const char *target, int folder, const char *path) noexcept,
     (target, folder, path))

PASS(Call::attributes, int, -1, chmod, (const char *path, mode_t mode) noexcept, (path, mode))
PASS(Call::attributes, int, -1, fchmod, (int file, mode_t mode) noexcept, (file, mode))
PASS(Call::attributes, int, -1, fchmodat,
     (int folder, const char *path, mode_t mode, int flags) noexcept, (folder, path, mode, flags))
PASS(Call::attributes, int, -1, chown, (const char *path, uid_t user, gid_t group) noexcept,
     (path, user, group))
PASS(Call::attributes, int, -1, fchown, (int file, uid_t user, gid_t group) noexcept,
     (file, user, group))
PASS(Call::attributes, int, -1, utimensat,
     (int folder, const char *path, const timespec *times, int flags) noexcept,
     (folder, path, times, flags))
PASS(Call::attributes, int, -1, futimens, (int file, const timespec *times) noexcept, (file, times))

PASS(Call::lock, int, -1, flock, (int file, int operation) noexcept, (file, operation))

PASS(Call::remove, int, -1, unlink, (const char *path) noexcept, (path))
PASS(Call::remove, int, -1, unlinkat, (int folder, const char *path, int flags) noexcept,
     (folder, path, flags))

PASS(Call::list, DIR *, nullptr, fdopendir, (int folder), (folder))
PASS(Call::list, dirent *, nullptr, readdir, (DIR * folder), (folder))

PASS(Call::status, int, -1, stat, (const char *path, struct stat *status) noexcept, (path, status))
PASS(Call::status, int, -1, lstat, (const char *path, struct stat *status) noexcept, (path, status))
PASS(Call::status, int, -1, fstat, (int file, struct stat *status) noexcept, (file, status))
PASS(Call::status, int, -1, fstatat,
     (int folder, const char *path, struct stat *status, int flags) noexcept,
     (folder, path, status, flags))
PASS(Call::status, int, -1, statvfs, (const char *path, struct statvfs *status) noexcept,
     (path, status))
PASS(Call::status, int, -1, access, (const char *path, int mode) noexcept, (path, mode))
PASS(Call::status, int, -1, faccessat, (int folder, const char *path, int mode, int flags) noexcept,
     (folder, path, mode, flags))
PASS(Call::status, ssize_t, -1, readlink,
     (const char *path, char *buffer, std::size_t size) noexcept, (path, buffer, size))
PASS(Call::status, ssize_t, -1, readlinkat,
     (int folder, const char *path, char *buffer, std::size_t size) noexcept,
     (folder, path, buffer, size))
PASS(Call::status, char *, nullptr, realpath, (const char *path, char *buffer) noexcept,
     (path, buffer))
PASS(Call::status, char *, nullptr, getcwd, (char *buffer, std::size_t size) noexcept,
     (buffer, size))

// NOLINTEND(readability-inconsistent-declaration-parameter-name,*-reserved-identifier)
}

} // namespace vellomir
