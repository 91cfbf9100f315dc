#pragma once

#include <QSocketNotifier>

#include <memory>

namespace vellomir {

/// While it lives, SIGINT, SIGTERM and SIGHUP end the event loop as closing the last window does,
/// instead of the program. A second one of the same kind ends the program, if it takes too long to
/// leave. What was ignored when the program started stays so. One object, on the main thread.
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
