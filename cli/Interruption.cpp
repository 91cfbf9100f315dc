#include "cli/Interruption.h"

#include <atomic>
#include <csignal>
#include <unistd.h>
#include <utility>

namespace vellomir::cli {
namespace {

std::atomic<int> firstSignal = 0;
std::atomic<archive::Progress *> watched = nullptr;
static_assert(std::atomic<int>::is_always_lock_free &&
                  std::atomic<archive::Progress *>::is_always_lock_free,
              "a signal handler may touch nothing else");

extern "C" void handleSignal(int signal) {
    int none = 0;
    firstSignal.compare_exchange_strong(none, signal);
    if (archive::Progress *progress = watched)
        progress->cancel();
    ::alarm(1);
}

/// A system call that started to wait just after the first signal is interrupted by this one, or by
/// the next.
extern "C" void handleAlarm(int /*signal*/) {
    ::alarm(1);
}

void setAction(int signal, void (*handler)(int)) {
    struct sigaction previous {};
    if (::sigaction(signal, nullptr, &previous) == 0 && previous.sa_handler == SIG_IGN)
        return;
    struct sigaction action {};
    action.sa_handler = handler; // without SA_RESTART: waiting system calls must end
    ::sigaction(signal, &action, nullptr);
}

} // namespace

Interruption::Interruption(std::shared_ptr<archive::Progress> progress)
    : progress_(std::move(progress)) {
    watched = progress_.get();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        setAction(signal, handleSignal);
    setAction(SIGALRM, handleAlarm);
    for (const int signal : {SIGPIPE, SIGXFSZ})
        setAction(signal, SIG_IGN);
}

Interruption::~Interruption() {
    watched = nullptr;
}

int Interruption::signal() {
    return firstSignal;
}

void Interruption::throwIfInterrupted() {
    if (signal() != 0)
        throw Interrupted();
}

} // namespace vellomir::cli
