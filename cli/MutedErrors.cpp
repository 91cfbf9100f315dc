#include "cli/MutedErrors.h"

#include <fcntl.h>
#include <unistd.h>

namespace cli {

MutedErrors::MutedErrors() : kept_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    const archive::FileDescriptor nothing(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (kept_.isOpen() && nothing.isOpen())
        ::dup2(nothing.get(), STDERR_FILENO);
}

MutedErrors::~MutedErrors() {
    if (kept_.isOpen())
        ::dup2(kept_.get(), STDERR_FILENO);
}

} // namespace cli
