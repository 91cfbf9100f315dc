// AppLaunchView: the job from end to end.

#include "Vellomir/ContentView/AppLaunchView.h"

namespace vellomir {

void AppLaunchView::processIPAFile() {
    const auto package = selectedFileURL.get();
    if (!package)
        return;
    progress_.begin();
    const auto unzipped = unzipIPA(*package);
    if (!unzipped)
        return;

    if (const auto icon = selectedImage.get()) {
        logMessages.append("Image picked");
        updateAppIcon(*unzipped, *icon); // The bundle can do without the new icon.
    } else {
        logMessages.append("No image selected");
    }

    const auto appName = updateInfoPlist(*unzipped);
    const auto result = appName ? zipUpdatedIPA(*unzipped, *appName) : std::nullopt;
    if (!result)
        return fail("Error while processing the IPA file");

    static const std::string success = "Zipped IPA file: ";
    logMessages.append(success + result->lastPathComponent());
    errorMessage.set(success + result->absoluteString());
    modifiedFileURL.set(result);
    clearTemporaryFiles();
}

void AppLaunchView::fail(const std::string &message) {
    logMessages.append(message);
    errorMessage.set(message);
}

} // namespace vellomir
