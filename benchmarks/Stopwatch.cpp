// Runs a command several times and writes what each run cost: Stopwatch FILE COUNT COMMAND...
//
// One JSON object: {"exitCode":0,"runs":[{"elapsed":seconds,"processor":seconds,"memory":bytes}]}.
// Ends with the exit code of the command, at the first one that is not 0. Small, because the peak
// memory that the system counts for a command starts with that of the process it was made from.

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs the command and prints the costs; returns the exit code, 128 and the number for a signal.
int measure(char **command, std::FILE *file, const char *separator) {
    const double start = now();
    const pid_t child = vfork();
    if (child == 0) {
        execvp(command[0], command);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child)
        return 126;
    std::fprintf(file, "%s{\"elapsed\":%.6f,\"processor\":%.6f,\"memory\":%ld}", separator,
                 now() - start, seconds(usage.ru_utime) + seconds(usage.ru_stime),
                 usage.ru_maxrss * 1024);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

int main(int argc, char **argv) {
    std::FILE *file = argc < 4 ? nullptr : std::fopen(argv[1], "we");
    if (file == nullptr)
        return 64;
    const long count = std::strtol(argv[2], nullptr, 10);
    int exitCode = 0;
    std::fputs("{\"runs\":[", file);
    for (long index = 0; index < count && exitCode == 0; ++index)
        exitCode = measure(argv + 3, file, index == 0 ? "" : ",");
    std::fprintf(file, "],\"exitCode\":%d}\n", exitCode);
    return std::fclose(file) == 0 ? exitCode : 74;
}
