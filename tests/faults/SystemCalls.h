#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace vellomir::test {

/// The kinds of system calls that can be made to fail, and memory.
enum class Call {
    open,       ///< open, openat, openat2, fopen, a second descriptor, a converter of text
    read,       ///< read, also below a stream
    write,      ///< write, also below a stream
    seek,       ///< lseek, also below a stream
    copy,       ///< copy_file_range, sharing bytes of two files
    flush,      ///< fsync, fdatasync
    close,      ///< close, fclose, closedir: the descriptor is closed nevertheless
    truncate,   ///< ftruncate
    rename,     ///< rename, renameat, renameat2
    makeFolder, ///< mkdir, mkdirat, mkdtemp
    link,       ///< link, symlinkat
    attributes, ///< chmod, chown, utimensat and their forms for descriptors
    lock,       ///< flock
    remove,     ///< unlink, unlinkat
    list,       ///< fdopendir, readdir
    status,     ///< stat, statvfs, access, readlink, realpath, getcwd
    allocate,   ///< malloc and operator new; only operator new under a sanitizer
};

inline constexpr std::array<std::string_view, 17> callNames = {
    "open",  "read", "write",      "seek", "copy",   "flush", "close",  "cut",   "rename",
    "mkdir", "link", "attributes", "lock", "remove", "list",  "status", "memory"};

/// How many bytes one read, write or copy transfers.
enum class Transfer {
    whole,
    half, ///< half of what is asked for, at least one byte
    oneByte,
};

/// While one lives, the system calls of this process are counted, and one of them fails. All of
/// them pass through the functions in SystemCalls.cpp: those of the libraries under test, of
/// libstdc++, and of Qt. One at a time; other threads are counted as well.
class SystemCalls {
public:
    /// Without a fault: calls are only counted.
    explicit SystemCalls(Transfer transfer = Transfer::whole);
    /// The call with this number, counted from 1 for its kind, fails with this error.
    SystemCalls(Call call, long number, int error);
    ~SystemCalls();
    SystemCalls(const SystemCalls &) = delete;
    SystemCalls &operator=(const SystemCalls &) = delete;

    /// Whether the call that is to fail was made.
    [[nodiscard]] static bool hasFailed();
    /// Calls of a kind since the last object was made.
    [[nodiscard]] static long count(Call call);
    /// The program ends with a message when an object sees more calls than this: an endless loop.
    static constexpr long limit = 3'000'000;
};

} // namespace vellomir::test
