#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace vellomir {

enum class LockAttempt { locked, taken, unsupported };

/// Locks an open file (flock) until the descriptor is closed, unless another process holds a lock.
/// `unsupported`, with errno, if the file system has no locks.
[[nodiscard]] LockAttempt tryToLock(int descriptor);

/// The process that holds a lock on an open file; none if the system does not report it.
[[nodiscard]] std::optional<pid_t> lockHolder(int descriptor);

/// The name of a process's program, or "another program".
[[nodiscard]] std::string programName(pid_t process);

} // namespace vellomir
