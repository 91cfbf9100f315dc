#pragma once

#include <sys/stat.h>

namespace vellomir::test {

/// Sets the umask of the process while an object exists.
class Umask {
public:
    explicit Umask(mode_t mask) : before_(::umask(mask)) {}
    ~Umask() { ::umask(before_); }
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;

private:
    mode_t before_;
};

} // namespace vellomir::test
