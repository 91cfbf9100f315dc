#pragma once

#include "files/FilePlace.h"

#include <string>
#include <sys/types.h>
#include <utility>

namespace vellomir {

/// Owns an open descriptor, and closes it. −1 means none.
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
    ~FileDescriptor();

    [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
    [[nodiscard]] int get() const { return descriptor_; }
    /// Gives up the ownership.
    [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }
    /// Closes it now. False, with errno, if the system could not keep what was written.
    [[nodiscard]] bool close();

private:
    int descriptor_ = -1;
};

// All functions below return a descriptor that is not open, and set errno, if they fail. What they
// open is closed in child processes. None of them waits, not even for the other end of a pipe.

enum class Access { read, write, readAndWrite };

/// Opens an existing item.
[[nodiscard]] FileDescriptor openFile(const ItemName &item, Access access,
                                      Links links = Links::follow);

/// What `createFile` does with an existing file. A link is an error.
enum class IfThere { refuse, open, empty };

/// Opens a new file, whose mode is subject to the umask, or an existing one as it is.
[[nodiscard]] FileDescriptor createFile(const ItemName &item, Access access, mode_t mode,
                                        IfThere ifThere = IfThere::refuse);

/// What a folder is opened for: as the place of names, or to list it as well, for which it must be
/// readable.
enum class FolderUse { names, list };

[[nodiscard]] FileDescriptor openFolder(const ItemName &folder, FolderUse use,
                                        Links links = Links::refuse);

/// Opens any item, a link itself, without a right to read it: only for its status, or as a place
/// of names.
[[nodiscard]] FileDescriptor openItem(const ItemName &item);

/// Opens the folder at the relative path below another folder, as a place of names. The path has no
/// ".", "..", and no empty components; no component may be a link. One system call, however deep
/// the path, where the kernel can do that.
[[nodiscard]] FileDescriptor openBelow(int folder, const std::string &path);

/// The same with one system call a component, for kernels before 5.6.
[[nodiscard]] FileDescriptor openBelowByComponents(int folder, const std::string &path);

/// The same open file once more. Both share one position.
[[nodiscard]] FileDescriptor duplicate(int descriptor);

/// A path that leads to the open item, whatever its name is by now. For this process only, and as
/// long as the item is open; needs /proc.
[[nodiscard]] std::string descriptorPath(int descriptor);

} // namespace vellomir
