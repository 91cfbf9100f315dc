#pragma once

#include "fuzz/Require.h"

#include <span>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace vellomir::fuzz {

/// A regular file that lives in memory, without a name in any folder, and is filled anew for each
/// input.
class FuzzedFile {
public:
    FuzzedFile() : descriptor_(::memfd_create("fuzzed", MFD_CLOEXEC)) {
        require(descriptor_ >= 0, "a file in memory can be made");
    }
    FuzzedFile(const FuzzedFile &) = delete;
    FuzzedFile &operator=(const FuzzedFile &) = delete;
    ~FuzzedFile() { ::close(descriptor_); }

    [[nodiscard]] std::string path() const {
        return "/proc/self/fd/" + std::to_string(descriptor_);
    }

    void fill(std::span<const std::byte> bytes) const {
        const auto size = static_cast<ssize_t>(bytes.size());
        require(::ftruncate(descriptor_, 0) == 0 &&
                    ::pwrite(descriptor_, bytes.data(), bytes.size(), 0) == size,
                "a file in memory can be written");
    }

private:
    int descriptor_;
};

} // namespace vellomir::fuzz
