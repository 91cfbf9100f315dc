#include "Vellomir/Inspection/BundleLayout.h"

#include <algorithm>
#include <array>

namespace vellomir {
namespace {

/// Extensions of folders that are bundles of no kind of their own, wherever they are.
constexpr std::array<std::string_view, 6> bundleExtensions = {".app", ".appex",  ".bundle",
                                                              ".xpc", ".xctest", ".framework"};

/// Deeper bundles belong to the last one, so that no path takes long.
constexpr std::size_t depthLimit = 64;

/// Whether the name is more than the extension.
bool hasExtension(std::string_view name, std::string_view extension) {
    return name.size() > extension.size() && name.ends_with(extension);
}

bool isBundleName(std::string_view name) {
    return std::any_of(bundleExtensions.begin(), bundleExtensions.end(),
                       [name](std::string_view each) { return hasExtension(name, each); });
}

/// `parent` is the bundle around this one, or null for the app; `between` are the folders from
/// there to the bundle, with a "/" behind each.
BundleKind kindOf(std::string_view name, std::string_view between, const NestedBundle *parent) {
    if (hasExtension(name, ".framework"))
        return BundleKind::framework;
    // What is inside a framework is left alone with it.
    if (parent != nullptr && parent->kind == BundleKind::framework)
        return BundleKind::other;
    const bool isInWatchApp = parent != nullptr && parent->kind == BundleKind::watchApp;
    if (hasExtension(name, ".appex") && (between == "PlugIns/" || between == "Extensions/"))
        return isInWatchApp ? BundleKind::watchExtension : BundleKind::appExtension;
    if (parent == nullptr && hasExtension(name, ".app")) {
        if (between == "Watch/" || between == "com.apple.WatchPlaceholder/")
            return BundleKind::watchApp;
        if (between == "AppClips/")
            return BundleKind::appClip;
    }
    return BundleKind::other;
}

} // namespace

const char *nameOf(BundleKind kind) {
    switch (kind) {
    case BundleKind::appExtension:
        return "app extension";
    case BundleKind::watchApp:
        return "watch app";
    case BundleKind::watchExtension:
        return "watch extension";
    case BundleKind::appClip:
        return "app clip";
    case BundleKind::framework:
        return "framework";
    case BundleKind::other:
        break;
    }
    return "other bundle";
}

bool needsAppIdentifier(BundleKind kind) {
    return kind != BundleKind::framework && kind != BundleKind::other;
}

std::vector<NestedBundle> nestedBundles(std::string_view path) {
    std::vector<NestedBundle> bundles;
    std::size_t parentEnd = 0; // behind the "/" of the bundle around
    std::size_t start = 0;
    for (std::size_t slash = path.find('/'); slash != path.npos; slash = path.find('/', start)) {
        const std::string_view name = path.substr(start, slash - start);
        if (bundles.size() < depthLimit && isBundleName(name)) {
            const NestedBundle *const parent = bundles.empty() ? nullptr : &bundles.back();
            const BundleKind kind = kindOf(name, path.substr(parentEnd, start - parentEnd), parent);
            bundles.push_back({.folder = std::string(path.substr(0, slash)), .kind = kind});
            parentEnd = slash + 1;
        }
        start = slash + 1;
    }
    return bundles;
}

std::optional<NestedBundle> nestedBundle(std::string_view path) {
    auto bundles = nestedBundles(path);
    if (bundles.empty())
        return std::nullopt;
    return std::move(bundles.back());
}

std::optional<std::string_view> pathBelowFolder(std::string_view path, std::string_view folder) {
    if (!path.starts_with(folder) || !path.substr(folder.size()).starts_with('/'))
        return std::nullopt;
    return path.substr(folder.size() + 1);
}

} // namespace vellomir
