#include "archive/EntryPaths.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace vellomir::archive {
namespace {

/// The names of a path without "." and ".."; nothing if it leads out of its folder.
std::optional<std::vector<std::string_view>> resolved(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const std::string_view name = path.substr(0, end);
        path.remove_prefix(std::min(end + 1, path.size()));
        if (name == ".." && names.empty())
            return std::nullopt;
        if (name == "..")
            names.pop_back();
        else if (!name.empty() && name != ".")
            names.push_back(name);
    }
    return names;
}

} // namespace

std::size_t EntryPaths::Hash::operator()(const Place &place) const {
    const std::size_t hash = std::hash<std::string_view>()(place.name);
    return hash ^ (std::size_t{place.parent} * 0x9E3779B97F4A7C15U);
}

std::pair<EntryPaths::Item, bool> EntryPaths::findOrMake(Id parent, std::string_view name,
                                                         bool isFolder) {
    const Item item{static_cast<Id>(items_.size() + 1), isFolder};
    const auto [found, isNew] = items_.try_emplace({parent, std::string(name)}, item);
    return {found->second, isNew};
}

std::optional<FindingKind> EntryPaths::add(std::string_view path, Entry::EntryType type) {
    const bool isFolder = type == Entry::EntryType::directory;
    if (path.find('\0') != std::string_view::npos)
        return FindingKind::pathHoldsZeroByte;
    const auto names = resolved(path);
    if (!names)
        return FindingKind::pathLeadsOut;
    if (names->empty())
        return isFolder && !path.empty() ? std::nullopt
                                         : std::optional(FindingKind::pathIsNoFileName);
    if (std::ranges::any_of(*names, [](auto name) { return name.size() > maxNameSize; }))
        return FindingKind::pathHoldsLongName;
    Id folder = root;
    for (std::size_t index = 0; index + 1 < names->size(); ++index) {
        const Item above = findOrMake(folder, (*names)[index], true).first;
        if (!above.isFolder)
            return FindingKind::pathLeadsThroughEntry;
        folder = above.id;
    }
    const auto [item, isNew] = findOrMake(folder, names->back(), isFolder);
    if (isNew || (isFolder && item.isFolder))
        return std::nullopt;
    return item.isFolder ? FindingKind::pathIsFolder : FindingKind::pathIsTaken;
}

} // namespace vellomir::archive
