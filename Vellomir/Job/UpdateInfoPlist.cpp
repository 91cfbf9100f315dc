// Job: the bundle's new identifier, names and icon entries.

#include "Vellomir/Job/IconKeys.h"
#include "Vellomir/Job/Job.h"
#include "Vellomir/Job/PackageParts.h"

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
    const PropertyList old = *propertyList;
    Renaming renaming = rename(*propertyList);
    std::vector<ValueChange> removedKeys;
    if (input_.changes.icons && hasNewIcons_)
        removedKeys = removeHidingIconKeys(*propertyList);
    std::string displayName = renaming.displayName;
    // If that fails, the job goes on with the old one.
    remarks_.identifier = renaming.oldIdentifier;
    if (writeInfoPlist(*propertyList, *file)) {
        remarks_.identifier = renaming.newIdentifier;
        renaming.list = *file;
        renaming_ = std::move(renaming);
        recordInfoPlist(url, old, *propertyList, removedKeys);
    }
    return displayName;
}

void Job::recordInfoPlist(const archive::URL &url, const PropertyList &old,
                          const PropertyList &changed,
                          const std::vector<ValueChange> &removedKeys) {
    const std::string entry = renaming_->list.path().substr(url.path().size() + 1);
    for (ValueChange &each : changesBetween(old.members(), changed.members()))
        record_.changes.push_back({.file = entry, .value = std::move(each)});
    for (const ValueChange &each : removedKeys)
        record_.say("Removed " + describeKeyPath(each.keyPath) + " from " +
                    renaming_->list.lastPathComponent());
    if (input_.changes.identifier)
        remarks_.keepsIdentifier = renaming_->newIdentifier == renaming_->oldIdentifier;
}

std::optional<archive::URL> Job::firstInfoPlist(const archive::URL &url) const {
    return services_.files->findFirst(
        url, [](const archive::URL &item) { return namesAppList(item.absoluteString()); });
}

std::optional<archive::URL> Job::findInfoPlist(const archive::URL &url) const {
    try {
        auto file = firstInfoPlist(url);
        if (file)
            services_.files->requireFile(*file);
        return file;
    } catch (const std::exception &error) {
        diagnose(error);
        return std::nullopt;
    }
}

std::optional<PropertyList> Job::readInfoPlist(const archive::URL &file) {
    try {
        return PropertyList::parse(services_.files->read(file, PropertyList::maximumSize),
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

Job::Renaming Job::rename(PropertyList &propertyList) const {
    propertyList.remove("CFBundleIcons");
    propertyList.setTexts("CFBundleIconFiles", iconFileNames);

    const auto old = [&](const char *key) { return propertyList.text(key).value_or(""); };
    const std::string identifier = old("CFBundleIdentifier");
    const std::string displayName = old("CFBundleDisplayName");
    const std::string suffix = input_.duplicationNumber();
    const DeepChanges &asked = input_.changes;
    const std::string newIdentifier = asked.identifier.value_or(identifier + suffix);
    const std::string newDisplayName = asked.name.value_or(displayName + suffix);
    const std::string newName = asked.name.value_or(old("CFBundleName") + suffix);

    observer_.logged("Previous Bundle ID: " + identifier);
    observer_.logged("New Bundle ID: " + newIdentifier);
    observer_.logged("Previous App Name: " + displayName);
    observer_.logged("New App Name: " + newDisplayName);

    propertyList.setText("CFBundleIdentifier", newIdentifier);
    propertyList.setText("CFBundleDisplayName", newDisplayName);
    propertyList.setText("CFBundleName", newName);
    return {.list = {},
            .suffix = suffix,
            .oldIdentifier = identifier,
            .newIdentifier = newIdentifier,
            .displayName = newDisplayName};
}

/// Whether the file was written.
bool Job::writeInfoPlist(const PropertyList &propertyList, const archive::URL &file) {
    std::optional<archive::Data> xml;
    try {
        xml = propertyList.xmlData(progress_.progress());
    } catch (const std::exception &error) {
        complain(Kind::infoPlistNotSerialized, "Unable to update the Info.plist file", error);
        return false;
    }
    try {
        services_.files->write(file, *xml);
        observer_.logged("Info.plist updated successfully");
        return true;
    } catch (const std::exception &error) {
        complain(Kind::infoPlistNotWritten,
                 "Error while writing the updated Info.plist data: ", error);
        return false;
    }
}

} // namespace vellomir
