#include "Vellomir/Pictures/HelperProcess.h"

#include "Vellomir/Pictures/HelperStart.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Pictures/PictureBytes.h"
#include "archive/Archive.h"
#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sys/wait.h>

namespace vellomir {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int pollInterval = 50; ///< milliseconds

[[noreturn]] void throwMissing(const std::string &program, int systemError) {
    throw Error(PictureError::missingCodec,
                {.path = program,
                 .detail = "The program that reads and writes pictures cannot be started",
                 .systemError = systemError});
}

[[noreturn]] void throwStopped(const std::string &why) {
    throw PictureFault("The picture cannot be decoded: " + why);
}

/// A pipe; the helper holds the end that is written to.
struct Life {
    FileDescriptor watched;
    FileDescriptor held;

    Life() {
        int ends[2] = {-1, -1};
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throwStopped("there are too many open files");
        watched = FileDescriptor(ends[0]);
        held = FileDescriptor(ends[1]);
    }

    /// Waits a moment; whether the helper has ended.
    [[nodiscard]] bool isOver() const {
        pollfd waiting{.fd = watched.get(), .events = POLLIN, .revents = 0};
        return ::poll(&waiting, 1, pollInterval) > 0;
    }
};

/// A child process. The destructor kills it and collects its status unless `end` did.
class Child {
public:
    explicit Child(pid_t process) : process_(process) {}
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;
    ~Child() {
        if (process_ > 0)
            static_cast<void>(end());
    }

    /// Its status as `waitpid` gives it. 0 where this process doesn't collect statuses.
    int end() {
        ::kill(process_, SIGKILL);
        int status = 0;
        while (::waitpid(process_, &status, 0) < 0)
            if (errno != EINTR) {
                status = 0;
                break;
            }
        process_ = -1;
        return status;
    }

private:
    pid_t process_;
};

void requireSuccess(const HelperRun &run, int status) {
    if (WIFSIGNALED(status)) {
        if (WTERMSIG(status) == SIGXCPU)
            throwStopped("it takes too long");
        if (WTERMSIG(status) == SIGXFSZ)
            throwStopped("it becomes too large");
        throwStopped("the decoder crashed");
    }
    if (WEXITSTATUS(status) == notStarted)
        throwMissing(run.program, 0);
    if (WEXITSTATUS(status) != 0)
        throwStopped("the decoder failed");
}

} // namespace

void runHelper(const HelperRun &run, const Cancellation &isCancelled) {
    if (!isAllowed(Permission::execute, run.program))
        throwMissing(run.program, errno);
    Life life;
    const pid_t process = startHelper(run, life.held.get());
    if (process < 0)
        throwStopped("there are too many processes, or too little memory");
    Child child(process);
    life.held = {};
    const auto end = Clock::now() + run.limits.time;
    while (!life.isOver()) {
        if (isCancelled && isCancelled())
            throw Error(archive::Archive::ArchiveError::cancelledOperation);
        if (Clock::now() > end)
            throwStopped("it takes too long");
    }
    requireSuccess(run, child.end());
}

} // namespace vellomir
