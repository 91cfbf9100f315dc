#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// What a bundle inside an app is, by the folder in which the phone looks for it.
enum class BundleKind {
    appExtension,   ///< PlugIns/*.appex or Extensions/*.appex of a bundle
    watchApp,       ///< Watch/*.app of the app, or com.apple.WatchPlaceholder/*.app
    watchExtension, ///< an extension of a watch app
    appClip,        ///< AppClips/*.app of the app
    framework,      ///< *.framework
    other,          ///< any other folder with an extension of bundles, such as *.bundle
};

/// For people: "app extension", "watch app".
[[nodiscard]] const char *nameOf(BundleKind kind);

/// Whether a phone installs the bundle only if its identifier begins with the app's identifier and
/// a dot.
[[nodiscard]] bool needsAppIdentifier(BundleKind kind);

/// A bundle inside an app.
struct NestedBundle {
    std::string folder; ///< relative to the app's folder: "PlugIns/Share.appex"
    BundleKind kind = BundleKind::other;

    friend bool operator==(const NestedBundle &, const NestedBundle &) = default;
};

/// The bundles around an item, the outermost first. `path` is relative to the app's folder:
/// "Watch/W.app/PlugIns/E.appex/Info.plist". A folder belongs to itself if its path ends in "/".
/// Works on the text only; bundles may be nested to any depth.
[[nodiscard]] std::vector<NestedBundle> nestedBundles(std::string_view path);

/// The innermost of them; nothing for an item of the app itself.
[[nodiscard]] std::optional<NestedBundle> nestedBundle(std::string_view path);

/// The part of an item's path behind `folder` and "/"; nothing if the item is not below the folder.
[[nodiscard]] std::optional<std::string_view> pathBelowFolder(std::string_view path,
                                                              std::string_view folder);

} // namespace vellomir
