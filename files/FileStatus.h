#pragma once

#include "files/FilePlace.h"

#include <cstdint>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace vellomir {

/// One item of the file system, under whatever names. Another item may get the same identity after
/// this one was removed.
struct ItemIdentity {
    dev_t device;
    ino_t number;

    friend bool operator==(const ItemIdentity &, const ItemIdentity &) = default;
};

/// What the system knows of an item at one moment.
class FileStatus {
public:
    FileStatus() = default;
    explicit FileStatus(const struct stat &status) : status_(status) {}

    [[nodiscard]] bool isRegularFile() const { return S_ISREG(status_.st_mode); }
    [[nodiscard]] bool isFolder() const { return S_ISDIR(status_.st_mode); }
    [[nodiscard]] bool isLink() const { return S_ISLNK(status_.st_mode); }
    /// The permissions and the bits of the kind.
    [[nodiscard]] mode_t mode() const { return status_.st_mode; }
    [[nodiscard]] mode_t permissions() const { return status_.st_mode & 07777U; }
    [[nodiscard]] ItemIdentity identity() const { return {status_.st_dev, status_.st_ino}; }
    /// How many names the item has; 0 once it is removed.
    [[nodiscard]] nlink_t nameCount() const { return status_.st_nlink; }
    [[nodiscard]] uid_t owner() const { return status_.st_uid; }
    [[nodiscard]] gid_t group() const { return status_.st_gid; }
    /// In bytes.
    [[nodiscard]] std::int64_t size() const { return status_.st_size; }
    [[nodiscard]] timespec modificationTime() const { return status_.st_mtim; }

private:
    struct stat status_ {};
};

/// Of an open item. None, with errno, if that fails.
[[nodiscard]] std::optional<FileStatus> statusOf(int descriptor);
/// The same by name.
[[nodiscard]] std::optional<FileStatus> statusOf(const ItemName &item, Links links);

/// The same; throws a read error with the path.
[[nodiscard]] FileStatus requireStatus(int descriptor, const std::string &path);
[[nodiscard]] FileStatus requireStatus(const ItemName &item, Links links, const std::string &path);

/// Whether both are there and are one item.
[[nodiscard]] bool isSameItem(const std::optional<FileStatus> &left,
                              const std::optional<FileStatus> &right);

/// Identifies a file and its state: device, inode, size and modification time.
class FileIdentity {
public:
    /// Of an open file. Throws a `FileError` with the path.
    FileIdentity(int descriptor, const std::string &path);
    /// Of the file at a path, behind all links. Throws a `FileError` with the path.
    explicit FileIdentity(const std::string &path);
    /// Of the item of this name in its folder, a link itself. Throws a `FileError` with the path.
    explicit FileIdentity(const FilePlace &place);

    /// Whether both are one file, even if its content has changed.
    [[nodiscard]] bool isSameFile(const FileIdentity &other) const;
    /// Whether both are one file, with the same size and modification time.
    friend bool operator==(const FileIdentity &left, const FileIdentity &right);

private:
    FileStatus status_;
};

/// What this process may do with an item. `use` of a folder is making and removing names in it.
enum class Permission { exist, read, write, execute, use };

/// False, with errno, if the system refuses. A link is followed. `exist` needs no right to the item
/// itself.
[[nodiscard]] bool isAllowed(Permission permission, const ItemName &item);

/// The target of a link, as it is written in it. An empty name is the link that `folder` was opened
/// for by `openItem`. None, with errno, if that fails.
[[nodiscard]] std::optional<std::string> readLink(const ItemName &link);

} // namespace vellomir
