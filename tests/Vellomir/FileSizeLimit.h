#pragma once

#include <csignal>
#include <sys/resource.h>

namespace test {

/// A full disk in small: while this lives, no file grows beyond the limit, and writing more fails
/// with an error, for root too.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, SIG_IGN);
        const struct rlimit now { bytes, before_.rlim_max };
        ::setrlimit(RLIMIT_FSIZE, &now);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    struct rlimit before_ {};
};

} // namespace test
