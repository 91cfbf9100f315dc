#pragma once

#include "archive/Archive.h"
#include "archive/EntryAppender.h"

#include <sys/stat.h>

namespace archive {

/// An item on disk, looked at once: everything that adding it needs to know. Links are not
/// followed.
class FileItem {
public:
    /// Throws `fileReadNoSuchFile` with the path if there is no such item.
    explicit FileItem(const URL &url);
    /// The same by its name in an open folder, which must stay open as long as the object is used;
    /// `path` is for errors.
    FileItem(int folder, std::string name, std::string path);

    [[nodiscard]] Entry::EntryType type() const { return Entry::entryType(status_.st_mode); }
    [[nodiscard]] std::uint16_t permissions() const {
        return static_cast<std::uint16_t>(status_.st_mode);
    }
    [[nodiscard]] Date modificationDate() const;
    /// Throws `fileReadTooLarge` for a size that cannot be.
    [[nodiscard]] std::int64_t size() const;
    /// Units of progress for adding it: 1 for a folder, its bytes otherwise.
    [[nodiscard]] std::int64_t unitCount() const {
        return type() == Entry::EntryType::directory ? defaultDirectoryUnitCount : size();
    }
    /// Whether the two are one item on disk, under whatever names.
    [[nodiscard]] bool isSameAs(const FileItem &other) const {
        return status_.st_dev == other.status_.st_dev && status_.st_ino == other.status_.st_ino;
    }

    /// Adds the item under the path, to which a folder's "/" is appended where it is missing.
    /// Throws `fileReadNoPermission`, `fileNoSuchFile`, and what `EntryAppender::add` throws.
    void add(EntryAppender &appender, std::string path, const Archive::AddOptions &options) const;

private:
    void addFile(EntryAppender &appender, const std::string &path,
                 const Archive::AddOptions &options) const;
    void addSymbolicLink(EntryAppender &appender, const std::string &path,
                         const Archive::AddOptions &options) const;

    void look();
    void requireRegular() const;

    int folder_;
    std::string name_;
    std::string path_;
    struct stat status_ {};
};

} // namespace archive
