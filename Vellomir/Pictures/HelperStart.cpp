#include "Vellomir/Pictures/HelperStart.h"

#include "Vellomir/Pictures/HelperProtocol.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>

namespace vellomir {
namespace {

/// Where libraries and their plugins are, and what sanitizers shall do.
constexpr std::array<std::string_view, 7> keptVariables = {
    "LD_LIBRARY_PATH=", "QT_PLUGIN_PATH=", "LIBHEIF_PLUGIN_PATH=", "ASAN_OPTIONS=",
    "LSAN_OPTIONS=",    "TSAN_OPTIONS=",   "UBSAN_OPTIONS="};

std::vector<std::string> environmentOfHelper() {
    std::vector<std::string> kept = {"MALLOC_ARENA_MAX=1"}; // an arena takes 64 MB of address space
    for (char **variable = ::environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        if (std::any_of(keptVariables.begin(), keptVariables.end(),
                        [&](std::string_view name) { return text.starts_with(name); }))
            kept.emplace_back(text);
    }
    return kept;
}

std::vector<char *> pointers(std::vector<std::string> &texts) {
    std::vector<char *> result;
    result.reserve(texts.size() + 1);
    for (std::string &text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// --- In the new process, before the program runs ---------------------------------------------
// Other threads may have held any lock when the process was made, so there is nothing here but
// system calls.

/// Never above a limit that this process has itself.
void setLimit(int resource, rlim_t soft, rlim_t hard) {
    rlimit limit{};
    ::getrlimit(static_cast<__rlimit_resource>(resource), &limit);
    limit.rlim_max = std::min(limit.rlim_max, hard);
    limit.rlim_cur = std::min(limit.rlim_max, soft);
    ::setrlimit(static_cast<__rlimit_resource>(resource), &limit);
}

void setLimits(const HelperLimits &limits) {
    constexpr rlim_t mostFiles = 64;
    const auto seconds = static_cast<rlim_t>(limits.processorTime.count());
    if (limitsMemory)
        setLimit(RLIMIT_AS, limits.memory, limits.memory);
    setLimit(RLIMIT_FSIZE, limits.resultSize, limits.resultSize);
    setLimit(RLIMIT_CPU, seconds, seconds + 1); // the first is a signal of its own
    setLimit(RLIMIT_NOFILE, mostFiles, mostFiles);
    setLimit(RLIMIT_CORE, 0, 0);
}

/// Copies the descriptors to high numbers first, so that none is overwritten.
void arrangeDescriptors(int input, int output, int life) {
    constexpr int high = 16;
    const std::array from = {::open("/dev/null", O_RDWR), input, output, life};
    std::array<int, from.size()> copies{};
    for (std::size_t index = 0; index < from.size(); ++index)
        copies[index] = ::fcntl(from[index], F_DUPFD, high);
    ::dup2(copies[0], STDIN_FILENO);
    ::dup2(copies[0], STDOUT_FILENO);
    if (limitsMemory) // Sanitizers write what they find to standard error.
        ::dup2(copies[0], STDERR_FILENO);
    ::dup2(copies[1], helperInput);
    ::dup2(copies[2], helperOutput);
    ::dup2(copies[3], helperLife);
    constexpr unsigned first = helperLife + 1;
    if (::close_range(first, ~0U, 0) == 0)
        return;
    for (int other = first; other < 1024; ++other)
        ::close(other);
}

void resetSignals() {
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGPIPE, SIGXFSZ, SIGXCPU})
        ::signal(number, SIG_DFL);
}

/// A process group of its own keeps Ctrl-C away, which is for the caller to handle.
[[noreturn]] void become(const HelperRun &run, int life, pid_t parent, char **arguments,
                         char **environment) {
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
        ::_exit(notStarted);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    resetSignals();
    arrangeDescriptors(run.input, run.output, life);
    setLimits(run.limits);
    ::execve(arguments[0], arguments, environment);
    ::_exit(notStarted);
}

} // namespace

pid_t startHelper(const HelperRun &run, int life) {
    std::vector<std::string> words = {run.program};
    words.insert(words.end(), run.arguments.begin(), run.arguments.end());
    std::vector<std::string> variables = environmentOfHelper();
    std::vector<char *> arguments = pointers(words);
    std::vector<char *> environment = pointers(variables);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child == 0)
        become(run, life, parent, arguments.data(), environment.data());
    return child;
}

} // namespace vellomir
