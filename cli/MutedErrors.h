#pragma once

#include "archive/FileDescriptor.h"

namespace cli {

/// Keeps what libraries print on standard error away from the user as long as it lives: they say
/// the same in their errors, and those get one line of ours. For a time without other threads.
class MutedErrors {
public:
    MutedErrors();
    MutedErrors(const MutedErrors &) = delete;
    MutedErrors &operator=(const MutedErrors &) = delete;
    ~MutedErrors();

private:
    archive::FileDescriptor kept_;
};

} // namespace cli
