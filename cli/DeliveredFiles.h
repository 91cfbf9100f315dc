#pragma once

#include "files/FilePlace.h"
#include "files/FileStatus.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace vellomir::cli {

/// The files that jobs of one run must not replace, also not with `--force`: the packages, and what
/// the jobs have made. From any thread.
class DeliveredFiles {
public:
    /// `packages` are paths; one that does not exist is left out.
    explicit DeliveredFiles(const std::vector<std::string> &packages = {});

    /// Calls the function, which gives a new file its name, unless one of the files has it. One
    /// call at a time. Throws `FileError::fileWriteFileExists`, and what the function throws.
    void deliver(const FilePlace &place, const std::function<void()> &putInPlace);

private:
    std::mutex lock_;
    std::vector<ItemIdentity> packages_;
    std::vector<ItemIdentity> results_;
};

} // namespace vellomir::cli
