#pragma once

#include "archive/Data.h"
#include "archive/Date.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir::archive {

/// A file or a folder that an archive would make on disk.
struct ListedItem {
    std::string path; ///< without "/" at its end
    bool isFolder = false;
    std::uint16_t permissions = 0;
    Date::DateTime modificationDateTime = {};
    CRC32 checksum = 0;     ///< of a file, unless it has a content here
    std::uint64_t size = 0; ///< bytes, unless it has a content here
    /// Where the file's local header is in the new archive.
    std::uint64_t offset = 0;
    /// Null for files that are in the new archive already, and for folders.
    std::unique_ptr<Data> content = nullptr;
};

/// The items that unpacking an archive would make in an empty folder, without the folder. They are
/// in the order in which a walk visits them: see `sortForWalk` in files/FolderItems.h. One thread
/// at a time.
class EntryList {
public:
    using Iterator = std::vector<ListedItem>::iterator;

    /// In any order, until `finish` is called. Throws `invalidEntryPath` if unpacking would change
    /// the path, or refuse it: it is empty or absolute, has a component that is empty, "." or "..",
    /// a zero byte, or a component of more than 255 bytes.
    void add(ListedItem item);
    /// Adds the folders that the paths imply, with this date, and sorts all. Throws
    /// `invalidEntryPath` if two items have one path, or if a file is where a folder is needed.
    void finish(Date::DateTime now);

    // After `finish`:

    /// All items in the order of a walk.
    [[nodiscard]] std::vector<ListedItem> &items() { return items_; }
    /// Null if there is no such item.
    [[nodiscard]] ListedItem *find(std::string_view path);
    /// The items in a folder, but not those in the folders below it. "" is the top.
    [[nodiscard]] std::vector<const ListedItem *> children(std::string_view folder) const;
    /// Adds an item of a new path. Pointers to other items are invalid then.
    ListedItem &insert(ListedItem item);

private:
    [[nodiscard]] std::vector<ListedItem>::iterator place(std::string_view path, bool isFolder);
    void addImpliedFolders(Date::DateTime now);
    void requireDifferentPaths();

    std::vector<ListedItem> items_;
};

/// The path of the folder that an item is in; "" at the top.
[[nodiscard]] std::string_view folderOfItem(std::string_view path);

} // namespace vellomir::archive
