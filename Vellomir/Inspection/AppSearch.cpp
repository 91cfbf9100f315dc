#include "Vellomir/Inspection/AppSearch.h"

#include <algorithm>

namespace vellomir {
namespace {

constexpr std::string_view payloadFolder = "Payload";
constexpr std::string_view appExtension = ".app";
constexpr std::string_view listInApp = ".app/Info.plist";
constexpr std::size_t maximumApps = 1000;

bool isAppName(std::string_view name) {
    return name.size() > appExtension.size() && name.ends_with(appExtension);
}

/// The first component of the path, which is cut off with the "/" behind it.
std::string_view takeComponent(std::string_view &path) {
    const std::size_t end = std::min(path.find('/'), path.size());
    const std::string_view component = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    return component;
}

} // namespace

std::optional<std::string> unpackedPath(std::string_view entryPath) {
    std::string path;
    while (!entryPath.empty()) {
        const std::string_view component = takeComponent(entryPath);
        if (component.empty() || component == ".")
            continue;
        if (component != "..") {
            path += (path.empty() ? "" : "/") + std::string(component);
            continue;
        }
        if (path.empty())
            return std::nullopt;
        const std::size_t slash = path.rfind('/');
        path.resize(slash == path.npos ? 0 : slash);
    }
    return path;
}

void AppSearch::look(std::string_view path, bool isFolder) {
    std::string_view rest = path;
    if (takeComponent(rest) == payloadFolder) {
        const std::string_view name = takeComponent(rest);
        const bool isFolderName = isFolder || !rest.empty();
        if (isAppName(name) && isFolderName && apps_.size() < maximumApps)
            apps_.emplace(name);
    }
    const std::size_t found = path.find(listInApp);
    if (found == path.npos)
        return;
    const std::size_t end = path.find('/', found + listInApp.size());
    Item item{.path = std::string(path.substr(0, end)), .isFolder = isFolder || end != path.npos};
    if (!first_ || isBefore(item, *first_))
        first_ = std::move(item);
}

/// In the order of the walk: a folder before its items, among the items of a folder those that are
/// no folders first, then by the bytes of the names; at the top "Payload" before everything else.
bool AppSearch::isBefore(const Item &left, const Item &right) {
    std::string_view leftRest = left.path;
    std::string_view rightRest = right.path;
    for (bool isTop = true; !leftRest.empty() && !rightRest.empty(); isTop = false) {
        const std::string_view leftName = takeComponent(leftRest);
        const std::string_view rightName = takeComponent(rightRest);
        if (leftName == rightName)
            continue;
        if (isTop && (leftName == payloadFolder || rightName == payloadFolder))
            return leftName == payloadFolder;
        const bool isLeftFolder = !leftRest.empty() || left.isFolder;
        const bool isRightFolder = !rightRest.empty() || right.isFolder;
        return isLeftFolder == isRightFolder ? leftName < rightName : isRightFolder;
    }
    return leftRest.empty() && !rightRest.empty();
}

std::optional<std::string> AppSearch::propertyList() const {
    if (!first_ || first_->isFolder)
        return std::nullopt;
    return first_->path;
}

std::string AppSearch::bundle() const {
    if (!first_)
        return {};
    std::string_view rest = first_->path;
    while (!rest.empty()) {
        const std::string_view name = takeComponent(rest);
        const auto end = static_cast<std::size_t>(name.data() + name.size() - first_->path.data());
        if (isAppName(name))
            return first_->path.substr(0, end);
    }
    return first_->path.substr(0, first_->path.rfind('/'));
}

} // namespace vellomir
