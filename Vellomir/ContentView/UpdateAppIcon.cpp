// AppLaunchView: the new icon goes into the bundle.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/IconFiles.h"

namespace vellomir {

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

std::optional<archive::URL> AppLaunchView::findBundle(const archive::URL &url) const try {
    auto bundle = files_.findFirst(
        url, [](const archive::URL &item) { return item.pathExtension() == "app"; });
    if (bundle)
        files_.requireItem(*bundle);
    return bundle;
} catch (const std::exception &error) {
    services_.console(rawReason(error));
    return std::nullopt;
}

std::optional<archive::Data> AppLaunchView::encodeIcon(const Picture &newIcon) try {
    return newIcon.pngData();
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
