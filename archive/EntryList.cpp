#include "archive/EntryList.h"

#include "archive/Constants.h"
#include "archive/Error.h"

#include <algorithm>
#include <tuple>

namespace vellomir::archive {
namespace {

constexpr std::size_t longestName = 255; // of every file system that is in use

[[noreturn]] void refusePath(std::string_view path, const char *reason) {
    throw Error(ArchiveError::invalidEntryPath, {.entry = std::string(path), .detail = reason});
}

void requirePlain(std::string_view path) {
    if (path.find('\0') != path.npos)
        refusePath(path, "The path has a zero byte");
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view name = path.substr(start, end - start);
        if (name.empty() || name == "." || name == ".." || name.size() > longestName)
            refusePath(path, "The path is not a plain one");
        start = end + 1;
    }
}

/// What the order is made by.
struct WalkPlace {
    std::string_view path;
    bool isFolder;
};

/// The component of the path that starts there, as `sortForWalk` compares it.
auto walkKey(const WalkPlace &place, std::size_t start) {
    const std::size_t slash = place.path.find('/', start);
    const std::string_view name = place.path.substr(start, slash - start);
    const bool isFirst = start == 0 && name == "Payload";
    return std::make_tuple(!isFirst, slash != std::string_view::npos || place.isFolder, name);
}

bool isBefore(const WalkPlace &left, const WalkPlace &right) {
    const auto differs =
        std::mismatch(left.path.begin(), left.path.end(), right.path.begin(), right.path.end());
    const auto common = static_cast<std::size_t>(differs.first - left.path.begin());
    const auto hasEnded = [common](std::string_view path, std::string_view other) {
        return common == path.size() && (common == other.size() || other[common] == '/');
    };
    if (left.path.size() == right.path.size() && common == left.path.size())
        return !left.isFolder && right.isFolder;
    if (hasEnded(left.path, right.path))
        return true; // a folder before its content
    if (hasEnded(right.path, left.path))
        return false;
    const std::size_t slash =
        common == 0 ? std::string_view::npos : left.path.rfind('/', common - 1);
    const std::size_t start = slash == std::string_view::npos ? 0 : slash + 1;
    return walkKey(left, start) < walkKey(right, start);
}

WalkPlace placeOf(const ListedItem &item) {
    return {item.path, item.isFolder};
}

bool isItemBefore(const ListedItem &left, const ListedItem &right) {
    return isBefore(placeOf(left), placeOf(right));
}

bool isBelow(std::string_view path, std::string_view folder) {
    return folder.empty() ||
           (path.starts_with(folder) && path.substr(folder.size()).starts_with('/'));
}

} // namespace

std::string_view folderOfItem(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return path.substr(0, slash == path.npos ? 0 : slash);
}

void EntryList::add(ListedItem item) {
    requirePlain(item.path);
    items_.push_back(std::move(item));
}

void EntryList::finish(Date::DateTime now) {
    std::sort(items_.begin(), items_.end(), isItemBefore);
    addImpliedFolders(now);
    requireDifferentPaths();
}

/// In the order of a walk, a folder is directly before its content, or missing.
void EntryList::addImpliedFolders(Date::DateTime now) {
    std::vector<ListedItem> implied;
    std::string_view current; // the last folder
    for (const ListedItem &item : items_) {
        const std::string_view folder = folderOfItem(item.path);
        // The longest part that the current folder is, or is in.
        std::size_t known = folder.size();
        while (known > 0 && folder.substr(0, known) != current &&
               !isBelow(current, folder.substr(0, known)))
            known = folderOfItem(folder.substr(0, known)).size();
        while (known < folder.size()) {
            known = std::min(folder.find('/', known + 1), folder.size());
            implied.push_back({.path = std::string(folder.substr(0, known)),
                               .isFolder = true,
                               .permissions = defaultDirectoryPermissions,
                               .modificationDateTime = now});
        }
        current = item.isFolder ? std::string_view(item.path) : folder;
    }
    const auto middle = static_cast<std::ptrdiff_t>(items_.size());
    std::move(implied.begin(), implied.end(), std::back_inserter(items_));
    std::inplace_merge(items_.begin(), items_.begin() + middle, items_.end(), isItemBefore);
}

void EntryList::requireDifferentPaths() {
    for (std::size_t index = 0; index < items_.size(); ++index) {
        const ListedItem &item = items_[index];
        if (index > 0 && items_[index - 1].path == item.path &&
            items_[index - 1].isFolder == item.isFolder)
            refusePath(item.path, "Two entries have this path");
        if (!item.isFolder)
            continue;
        const auto file = place(item.path, false);
        if (file != items_.end() && !file->isFolder && file->path == item.path)
            refusePath(item.path, "A file is where a folder is needed");
    }
}

EntryList::Iterator EntryList::place(std::string_view path, bool isFolder) {
    return std::lower_bound(items_.begin(), items_.end(), WalkPlace{path, isFolder},
                            [](const ListedItem &item, const WalkPlace &place) {
                                return isBefore(placeOf(item), place);
                            });
}

ListedItem *EntryList::find(std::string_view path) {
    for (const bool isFolder : {false, true})
        if (const auto found = place(path, isFolder);
            found != items_.end() && found->path == path && found->isFolder == isFolder)
            return &*found;
    return nullptr;
}

std::vector<const ListedItem *> EntryList::children(std::string_view folder) const {
    std::vector<const ListedItem *> found;
    for (const ListedItem &item : items_)
        if (isBelow(item.path, folder) && folderOfItem(item.path) == folder)
            found.push_back(&item);
    return found;
}

ListedItem &EntryList::insert(ListedItem item) {
    return *items_.insert(place(item.path, item.isFolder), std::move(item));
}

} // namespace vellomir::archive
