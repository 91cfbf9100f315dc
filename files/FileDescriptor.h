#pragma once

#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace vellomir {

/// Opens a folder that is no link, as a place for names below it.
inline constexpr int folderFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
/// Opens a folder that is no link, to list it as well.
inline constexpr int listFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// An open descriptor with an owner. −1 stands for none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    FileDescriptor(FileDescriptor &&other) noexcept
        : descriptor_(std::exchange(other.descriptor_, -1)) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~FileDescriptor() {
        if (isOpen())
            ::close(descriptor_);
    }

    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int get() const { return descriptor_; }
    /// Gives up owning it.
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }

private:
    int descriptor_ = -1;
};

} // namespace vellomir
