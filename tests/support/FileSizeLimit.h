#pragma once

#include <csignal>
#include <sys/resource.h>

namespace vellomir::test {

/// Simulates a full disk: while an object exists, files cannot grow beyond the limit. Writing more
/// fails with EFBIG, also for root.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        handler_ = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit now{bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &now);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit before_{};
    void (*handler_)(int) = SIG_DFL;
};

} // namespace vellomir::test
