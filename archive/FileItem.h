#pragma once

#include "archive/Entry.h"
#include "archive/Options.h"
#include "files/FileStatus.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vellomir::archive {

class EntryTarget;

/// An item on disk, looked at once: everything that adding it needs to know. Links are not
/// followed. A value; `BatchAddition` adds it to an archive.
class FileItem {
public:
    /// Throws `fileReadNoSuchFile` with the path if there is no such item. The folder is opened
    /// again by its path when the item is added, and must be the same one then.
    explicit FileItem(const URL &url);
    /// The same by its name in an open folder (a descriptor), which must stay open as long as the
    /// object is used; `path` is for errors.
    FileItem(int folder, std::string name, std::string path);

    /// What is neither a folder nor a link counts as a file.
    [[nodiscard]] Entry::EntryType type() const { return Entry::entryType(status_.mode()); }
    /// The whole mode word.
    [[nodiscard]] std::uint16_t permissions() const {
        return static_cast<std::uint16_t>(status_.mode());
    }
    /// When its content was changed last.
    [[nodiscard]] Date modificationDate() const;
    /// Bytes; of a link, the length of its text. Throws `fileReadTooLarge` for a negative size.
    [[nodiscard]] std::int64_t size() const;
    /// Units of progress for adding it: 1 for a folder, its bytes otherwise.
    [[nodiscard]] std::int64_t unitCount() const {
        return type() == Entry::EntryType::directory ? defaultDirectoryUnitCount : size();
    }
    /// Whether the two are one item on disk, also under different names.
    [[nodiscard]] bool isSameAs(const FileItem &other) const {
        return status_.identity() == other.status_.identity();
    }

    /// For the engine itself. Adds the item under the path, to which a folder's "/" is appended
    /// where it is missing. Throws `fileReadNoPermission`, `fileNoSuchFile`, `fileReadUnknown` if
    /// another folder has taken the place of the item's, and what `EntryTarget::add` throws.
    void add(EntryTarget &target, std::string path, const AddOptions &options) const;

private:
    void addFromFolder(EntryTarget &target, std::string path, const AddOptions &options) const;
    void addFile(EntryTarget &target, const std::string &path, const AddOptions &options) const;
    void addSymbolicLink(EntryTarget &target, const std::string &path,
                         const AddOptions &options) const;

    void look();
    [[noreturn]] void throwMissing() const;
    void requireRegular() const;

    int folder_;
    std::string name_;
    std::string path_;
    /// Of the folder of `path_`; none if `folder_` is that folder.
    std::optional<ItemIdentity> identity_;
    FileStatus status_;
};

} // namespace vellomir::archive
