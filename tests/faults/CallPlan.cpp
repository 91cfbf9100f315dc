#include "tests/faults/CallPlan.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <pthread.h>
#include <unistd.h>

namespace vellomir::test {
namespace {

struct Plan {
    std::atomic<bool> isActive = false;
    std::atomic<int> failingCall = -1;
    std::atomic<long> untilFault = 0;
    std::atomic<int> error = 0;
    std::atomic<bool> hasFailed = false;
    std::atomic<Transfer> transfer = Transfer::whole;
    std::atomic<long> total = 0;
    std::array<std::atomic<long>, callNames.size()> counts = {};
};

constinit Plan plan;

/// The calls of a child, before it runs another program, are not counted: their number would differ
/// from what this process sees.
void watchThisProcessOnly() {
    static const int result = ::pthread_atfork(nullptr, nullptr, [] { plan.isActive = false; });
    static_cast<void>(result);
}

void begin(Transfer transfer, int failingCall, long number, int error) {
    plan.failingCall = failingCall;
    plan.untilFault = number;
    plan.error = error;
    plan.hasFailed = false;
    plan.transfer = transfer;
    plan.total = 0;
    for (auto &count : plan.counts)
        count = 0;
    watchThisProcessOnly();
    plan.isActive = true;
}

/// Without memory of its own: this may be called from an allocation.
[[noreturn]] void reportEndlessLoop() {
    constexpr std::string_view text = "There are too many system calls: this is an endless loop\n";
    plan.isActive = false;
    static_cast<void>(!::write(STDERR_FILENO, text.data(), text.size()));
    std::abort();
}

} // namespace

SystemCalls::SystemCalls(Transfer transfer) {
    begin(transfer, -1, 0, 0);
}

SystemCalls::SystemCalls(Call call, long number, int error) {
    begin(Transfer::whole, static_cast<int>(call), number, error);
}

SystemCalls::~SystemCalls() {
    plan.isActive = false;
}

bool SystemCalls::hasFailed() {
    return plan.hasFailed;
}

long SystemCalls::count(Call call) {
    return plan.counts.at(static_cast<std::size_t>(call));
}

bool isWatching() {
    return plan.isActive;
}

bool fails(Call call) {
    if (!plan.isActive)
        return false;
    if (++plan.total > SystemCalls::limit)
        reportEndlessLoop();
    ++plan.counts[static_cast<std::size_t>(call)];
    if (static_cast<int>(call) != plan.failingCall || --plan.untilFault != 0)
        return false;
    plan.hasFailed = true;
    errno = plan.error;
    return true;
}

ssize_t allowedSize(Call call, std::size_t size) {
    if (fails(call))
        return -1;
    const auto all = static_cast<ssize_t>(size);
    if (!plan.isActive || size == 0)
        return all;
    switch (plan.transfer.load()) {
    case Transfer::half:
        return std::max<ssize_t>(all / 2, 1);
    case Transfer::oneByte:
        return 1;
    case Transfer::whole:
        break;
    }
    return all;
}

} // namespace vellomir::test
