// Job: writing the new icon into the bundle.

#include "Vellomir/Job/Job.h"

namespace vellomir {
namespace {

bool isBundle(const archive::URL &item) {
    return item.pathExtension() == "app";
}

/// Of the bundles on the way from the folder to the item.
std::optional<archive::URL> outermostBundle(const archive::URL &folder, const archive::URL &item) {
    std::optional<archive::URL> bundle;
    const std::size_t start = folder.path().size();
    for (archive::URL each = item; each.path().size() > start;
         each = each.deletingLastPathComponent())
        if (isBundle(each))
            bundle = each;
    return bundle;
}

} // namespace

std::optional<std::string> Job::updateAppIcon(const archive::URL &url, const Picture &newIcon) {
    const auto bundle = findBundle(url);
    if (!bundle) {
        complaints_.push_back({.kind = Kind::bundleNotFound,
                               .text = "App directory not found in the unzipped folder"});
        observer_.logged(complaints_.back().text);
        return std::nullopt;
    }
    const auto png = encodeIcon(newIcon);
    if (!png || !writeIcons(*bundle, *png))
        return std::nullopt;
    return bundle->path();
}

/// The icons go where the property list is: into the outermost bundle around it. Without a property
/// list in a bundle, they go into the first bundle.
std::optional<archive::URL> Job::findBundle(const archive::URL &url) const {
    try {
        const auto list = firstInfoPlist(url);
        auto bundle = list ? outermostBundle(url, *list) : std::nullopt;
        if (!bundle)
            bundle = services_.files.findFirst(url, isBundle);
        if (bundle)
            services_.files.requireItem(*bundle);
        return bundle;
    } catch (const std::exception &error) {
        diagnose(error);
        return std::nullopt;
    }
}

std::optional<archive::Data> Job::encodeIcon(const Picture &newIcon) {
    const archive::Progress *const progress = progress_.progress();
    try {
        return newIcon.pngData(
            [progress] { return progress != nullptr && progress->isCancelled(); });
    } catch (const std::exception &error) {
        complain(Kind::iconNotEncoded, "Error converting new icon to PNG data", error);
        return std::nullopt;
    }
}

bool Job::writeIcons(const archive::URL &bundle, const archive::Data &png) {
    for (const std::string &name : iconFileNames) {
        try {
            services_.files.write(bundle.appendingPathComponent(name), png);
            observer_.logged(name + " updated");
        } catch (const std::exception &error) {
            complain(Kind::iconNotWritten, "Error while updating " + name + ": ", error);
            return false;
        }
    }
    return true;
}

} // namespace vellomir
