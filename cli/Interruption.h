#pragma once

#include "archive/Progress.h"

#include <exception>
#include <memory>

namespace vellomir::cli {

/// Thrown where a command notices that it is to stop.
class Interrupted : public std::exception {
public:
    [[nodiscard]] const char *what() const noexcept override { return "interrupted"; }
};

/// From now on SIGINT, SIGTERM and SIGHUP cancel the progress object and do nothing else, however
/// many come: the command stops at its next chunk and cleans up. A signal that the caller had
/// ignored stays ignored. Writing into a closed pipe, or beyond a size limit, becomes an ordinary
/// error.
///
/// One object, which lives until the program ends. System calls that wait are interrupted.
class Interruption {
public:
    explicit Interruption(std::shared_ptr<archive::Progress> progress);
    Interruption(const Interruption &) = delete;
    Interruption &operator=(const Interruption &) = delete;
    ~Interruption();

    /// The signal that came first; 0 if none came. From any thread.
    [[nodiscard]] static int signal();
    static void throwIfInterrupted();

private:
    std::shared_ptr<archive::Progress> progress_;
};

} // namespace vellomir::cli
