#include "Vellomir/Window/TerminationSignals.h"

#include "files/Error.h"

#include <QCoreApplication>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace vellomir {
namespace {

constexpr std::array handled = {SIGINT, SIGTERM, SIGHUP};

/// A self-pipe: the signal handler writes to it, the event loop reads from it.
std::array<int, 2> pipeEnds = {-1, -1};

void noteSignal(int) {
    const int before = errno;
    const char byte = 0;
    // a full pipe already wakes the event loop
    static_cast<void>(::write(pipeEnds[1], &byte, 1) == 1);
    errno = before;
}

bool isIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void handle(int signal, void (*handler)(int)) {
    if (isIgnored(signal))
        return; // set by the parent process, such as nohup
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    ::sigaction(signal, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals() {
    if (::pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw readError("a pipe", errno);
    notifier_ = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [notifier = notifier_.get()] {
                         notifier->setEnabled(false);
                         QCoreApplication::quit();
                     });
    for (const int signal : handled)
        handle(signal, noteSignal);
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : handled)
        handle(signal, SIG_DFL);
    notifier_.reset();
    for (const int end : pipeEnds)
        ::close(end);
}

} // namespace vellomir
