// AppLaunchView: the new icon goes into the bundle.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Job/IconFiles.h"

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

std::optional<std::string> AppLaunchView::updateAppIcon(const archive::URL &url,
                                                        const Picture &newIcon) {
    const auto bundle = findBundle(url);
    if (!bundle) {
        logMessages.append("App directory not found in the unzipped folder");
        return std::nullopt;
    }
    const auto png = encodeIcon(newIcon);
    if (!png || !writeIcons(*bundle, *png))
        return std::nullopt;
    return bundle->path();
}

/// The icons go where the property list is: into the outermost bundle around it. Only without one,
/// any bundle will do.
std::optional<archive::URL> AppLaunchView::findBundle(const archive::URL &url) const try {
    const auto list = firstInfoPlist(url);
    auto bundle = list ? outermostBundle(url, *list) : std::nullopt;
    if (!bundle)
        bundle = files_.findFirst(url, isBundle);
    if (bundle)
        files_.requireItem(*bundle);
    return bundle;
} catch (const std::exception &error) {
    services_.console(rawReason(error));
    return std::nullopt;
}

std::optional<archive::Data> AppLaunchView::encodeIcon(const Picture &newIcon) try {
    const archive::Progress *const progress = progress_.progress();
    return newIcon.pngData([progress] { return progress != nullptr && progress->isCancelled(); });
} catch (const std::exception &error) {
    logMessages.append("Error converting new icon to PNG data");
    services_.console(rawReason(error));
    return std::nullopt;
}

bool AppLaunchView::writeIcons(const archive::URL &bundle, const archive::Data &png) {
    for (const std::string &name : iconFileNames) {
        try {
            files_.write(bundle.appendingPathComponent(name), png);
            logMessages.append(name + " updated");
        } catch (const std::exception &error) {
            logMessages.append("Error while updating " + name + ": " + reason(error));
            services_.console(rawReason(error));
            return false;
        }
    }
    return true;
}

} // namespace vellomir
