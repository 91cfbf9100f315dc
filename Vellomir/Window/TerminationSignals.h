#pragma once

#include <QSocketNotifier>

#include <memory>

namespace vellomir {

/// While an object exists, SIGINT, SIGTERM and SIGHUP quit the event loop like closing the last
/// window does, instead of killing the process. A second signal of the same kind kills the process.
/// Signals that were ignored at the program's start stay ignored. One object, on the main thread.
/// Throws a `FileError` if no pipe can be made.
class TerminationSignals {
public:
    TerminationSignals();
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals &) = delete;
    TerminationSignals &operator=(const TerminationSignals &) = delete;

private:
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vellomir
