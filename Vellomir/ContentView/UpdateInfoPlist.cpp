// AppLaunchView: the bundle gets its new identifier, names and icons.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Job/IconFiles.h"

namespace vellomir {

std::optional<std::string> AppLaunchView::updateInfoPlist(const archive::URL &url) {
    const auto file = findInfoPlist(url);
    if (!file) {
        fail("Info.plist not found in the unzipped folder");
        return std::nullopt;
    }
    logMessages.append("Updating Info.plist");
    auto propertyList = readInfoPlist(*file);
    if (!propertyList)
        return std::nullopt;
    std::string displayName = renameBundle(*propertyList);
    writeInfoPlist(*propertyList, *file); // If that fails, the job goes on with the old one.
    return displayName;
}

std::optional<archive::URL> AppLaunchView::firstInfoPlist(const archive::URL &url) const {
    return files_.findFirst(url, [](const archive::URL &item) {
        return item.absoluteString().find(".app/Info.plist") != std::string::npos;
    });
}

std::optional<archive::URL> AppLaunchView::findInfoPlist(const archive::URL &url) const try {
    auto file = firstInfoPlist(url);
    if (file)
        files_.requireFile(*file);
    return file;
} catch (const std::exception &error) {
    services_.console(rawReason(error));
    return std::nullopt;
}

std::optional<PropertyList> AppLaunchView::readInfoPlist(const archive::URL &file) const try {
    return PropertyList::parse(files_.read(file, PropertyList::maximumSize), progress_.progress());
} catch (const Error &error) {
    services_.console(rawReason(error.about({}, file.path())));
    return std::nullopt;
} catch (const std::exception &error) {
    services_.console(rawReason(error));
    return std::nullopt;
}

std::string AppLaunchView::renameBundle(PropertyList &propertyList) {
    propertyList.remove("CFBundleIcons");
    propertyList.setTexts("CFBundleIconFiles", iconFileNames);

    const auto old = [&](const char *key) { return propertyList.text(key).value_or(""); };
    const std::string identifier = old("CFBundleIdentifier");
    const std::string displayName = old("CFBundleDisplayName");
    const std::string name = old("CFBundleName");
    const std::string suffix = duplicationNumber.get();

    logMessages.append("Previous Bundle ID: " + identifier);
    logMessages.append("New Bundle ID: " + identifier + suffix);
    logMessages.append("Previous App Name: " + displayName);
    logMessages.append("New App Name: " + displayName + suffix);

    propertyList.setText("CFBundleIdentifier", identifier + suffix);
    propertyList.setText("CFBundleDisplayName", displayName + suffix);
    propertyList.setText("CFBundleName", name + suffix);
    return displayName + suffix;
}

void AppLaunchView::writeInfoPlist(const PropertyList &propertyList, const archive::URL &file) {
    std::optional<archive::Data> xml;
    try {
        xml = propertyList.xmlData(progress_.progress());
    } catch (const std::exception &error) {
        logMessages.append("Unable to update the Info.plist file");
        services_.console(rawReason(error));
        return;
    }
    try {
        files_.write(file, *xml);
        logMessages.append("Info.plist updated successfully");
    } catch (const std::exception &error) {
        logMessages.append("Error while writing the updated Info.plist data: " + reason(error));
        services_.console(rawReason(error));
    }
}

} // namespace vellomir
