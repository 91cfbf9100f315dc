#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace vellomir {

enum class LockAttempt { locked, taken, unsupported };

/// Locks an open file (flock) for as long as the descriptor is open, if nobody else holds a lock.
[[nodiscard]] LockAttempt tryToLock(int descriptor);

/// The process that holds a lock on an open file, or nothing if the system does not say.
[[nodiscard]] std::optional<pid_t> lockHolder(int descriptor);

/// The name of a process's program, or "another program".
[[nodiscard]] std::string programName(pid_t process);

} // namespace vellomir
