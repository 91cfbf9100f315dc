// Job: the bundle's new identifier, names and icon entries.

#include "Vellomir/Job/Job.h"

namespace vellomir {

std::optional<std::string> Job::updateInfoPlist(const archive::URL &url) {
    const auto file = findInfoPlist(url);
    if (!file) {
        failure_ = {.kind = Kind::infoPlistNotFound,
                    .text = "Info.plist not found in the unzipped folder"};
        observer_.logged(failure_->text);
        observer_.summarized(failure_->text);
        return std::nullopt;
    }
    observer_.logged("Updating Info.plist");
    auto propertyList = readInfoPlist(*file);
    if (!propertyList)
        return std::nullopt;
    std::string displayName = renameBundle(*propertyList);
    writeInfoPlist(*propertyList, *file); // If that fails, the job goes on with the old one.
    return displayName;
}

std::optional<archive::URL> Job::firstInfoPlist(const archive::URL &url) const {
    return services_.files.findFirst(url, [](const archive::URL &item) {
        return item.absoluteString().find(".app/Info.plist") != std::string::npos;
    });
}

std::optional<archive::URL> Job::findInfoPlist(const archive::URL &url) const {
    try {
        auto file = firstInfoPlist(url);
        if (file)
            services_.files.requireFile(*file);
        return file;
    } catch (const std::exception &error) {
        diagnose(error);
        return std::nullopt;
    }
}

std::optional<PropertyList> Job::readInfoPlist(const archive::URL &file) {
    try {
        return PropertyList::parse(services_.files.read(file, PropertyList::maximumSize),
                                   progress_.progress());
    } catch (const Error &error) {
        failReading(error.about({}, file.path()));
    } catch (const std::exception &error) {
        failReading(error);
    }
    return std::nullopt;
}

/// Of the reason, the log says nothing.
void Job::failReading(const std::exception &error) {
    failure_ = problem(Kind::infoPlistNotRead, error);
    diagnose(error);
}

std::string Job::renameBundle(PropertyList &propertyList) {
    propertyList.remove("CFBundleIcons");
    propertyList.setTexts("CFBundleIconFiles", iconFileNames);

    const auto old = [&](const char *key) { return propertyList.text(key).value_or(""); };
    const std::string identifier = old("CFBundleIdentifier");
    const std::string displayName = old("CFBundleDisplayName");
    const std::string name = old("CFBundleName");
    const std::string suffix = input_.duplicationNumber();

    observer_.logged("Previous Bundle ID: " + identifier);
    observer_.logged("New Bundle ID: " + identifier + suffix);
    observer_.logged("Previous App Name: " + displayName);
    observer_.logged("New App Name: " + displayName + suffix);

    propertyList.setText("CFBundleIdentifier", identifier + suffix);
    propertyList.setText("CFBundleDisplayName", displayName + suffix);
    propertyList.setText("CFBundleName", name + suffix);
    return displayName + suffix;
}

void Job::writeInfoPlist(const PropertyList &propertyList, const archive::URL &file) {
    std::optional<archive::Data> xml;
    try {
        xml = propertyList.xmlData(progress_.progress());
    } catch (const std::exception &error) {
        complain(Kind::infoPlistNotSerialized, "Unable to update the Info.plist file", error);
        return;
    }
    try {
        services_.files.write(file, *xml);
        observer_.logged("Info.plist updated successfully");
    } catch (const std::exception &error) {
        complain(Kind::infoPlistNotWritten,
                 "Error while writing the updated Info.plist data: ", error);
    }
}

} // namespace vellomir
