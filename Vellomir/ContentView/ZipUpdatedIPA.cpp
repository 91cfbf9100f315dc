// AppLaunchView: the changed bundle becomes a package again.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "archive/FileManager.h"

namespace vellomir {

std::optional<archive::URL> AppLaunchView::zipUpdatedIPA(const archive::URL &url,
                                                         const std::string &updatedAppName) {
    const auto documents = services_.sandbox.documentsFolder();
    if (!documents)
        return std::nullopt;
    const archive::URL output = documents->appendingPathComponent(updatedAppName + ".ipa");
    const archive::URL staging = documents->appendingPathComponent("tempFolder/");
    stagePayload(url, staging);
    try {
        const archive::URL place = packagePlace(output, staging);
        removeAllButPayload(staging);
        removeOldPackage(place);
        progress_.run(JobProgress::Share::packing, [&](const auto &progress) {
            archive::FileManager().zipItem(staging, place, false, archive::CompressionMethod::none,
                                           progress);
        });
        files_.remove(staging);
        logMessages.append("Zipped updated app successfully");
        return output;
    } catch (const std::exception &error) {
        logMessages.append("Error while zipping updated app: " + reason(error));
        services_.console(rawReason(error));
        return std::nullopt;
    }
}

/// Failures are only told: packing what is there decides.
void AppLaunchView::stagePayload(const archive::URL &url, const archive::URL &staging) {
    try {
        files_.createFolder(staging);
        logMessages.append("Created temporary folder");
    } catch (const std::exception &error) {
        logMessages.append("Error while creating temporary folder: " + reason(error));
        services_.console(rawReason(error));
    }
    try {
        files_.move(url.appendingPathComponent("Payload"),
                    staging.appendingPathComponent("Payload"));
        logMessages.append("Moved Payload folder");
    } catch (const std::exception &error) {
        logMessages.append("Error while moving Payload folder: " + reason(error));
        services_.console(rawReason(error));
    }
}

/// The package "tempFolder.ipa" was unpacked in the staging folder. What is there beside "Payload"
/// does not belong into the new package.
void AppLaunchView::removeAllButPayload(const archive::URL &staging) const {
    if (!files_.isFolder(staging))
        return;
    for (const archive::URL &child : files_.children(staging))
        if (child.lastPathComponent() != "Payload")
            files_.remove(child);
}

/// The name comes from the package. A new package belongs into Documents, and not into the folder
/// that it is made from.
archive::URL AppLaunchView::packagePlace(const archive::URL &output,
                                         const archive::URL &staging) const {
    archive::URL place = files_.withoutLinks(output);
    if (!place.isContained(documentsFolder()) || place.isContained(staging))
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = output.path(),
                     .detail = "The app's new name leads out of the folder for results"});
    return place;
}

void AppLaunchView::removeOldPackage(const archive::URL &place) const {
    try {
        files_.removeIfThere(place);
    } catch (const std::exception &error) {
        services_.console(rawReason(error)); // Packing fails if it is still there.
    }
}

} // namespace vellomir
