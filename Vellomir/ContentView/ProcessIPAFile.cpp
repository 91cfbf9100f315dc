// AppLaunchView: the job from end to end.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Job/Diagnostics.h"
#include "Vellomir/Job/ErrorText.h"
#include "Vellomir/Job/UserNames.h"
#include "archive/Archive.h"

namespace vellomir {
namespace {

/// Unpacking stops without an error at a damaged directory record, so the entries are counted. What
/// was unpacked already stays good if that fails.
void countEntries(const archive::URL &package, ResultRemarks &remarks) try {
    using archive::Archive;
    const auto archive = Archive::make(package, Archive::AccessMode::read);
    if (!archive)
        return;
    auto walk = archive->makeIterator();
    while (walk.next())
        ++remarks.readEntries;
    remarks.promisedEntries = walk.end() == Archive::EntryIterator::End::complete
                                  ? remarks.readEntries
                                  : archive->totalNumberOfEntriesInCentralDirectory();
} catch (const Error &) { // the copy of the package cannot be read any more
    remarks.readEntries = remarks.promisedEntries = 0;
}

} // namespace

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

    ResultRemarks remarks{.keepsIdentifier = duplicationNumber.get().empty()};
    countEntries(documentsFolder().appendingPathComponent(package->lastPathComponent()), remarks);
    const auto appName = updateInfoPlist(*unzipped);
    const auto result = appName ? zipUpdatedIPA(*unzipped, *appName) : std::nullopt;
    if (!result)
        return fail("Error while processing the IPA file");

    static const std::string success = "Zipped IPA file: ";
    logMessages.append(success + result->lastPathComponent());
    errorMessage.set(success + result->absoluteString());
    modifiedFileRemarks.set(remarks);
    modifiedFileURL.set(result);
    clearTemporaryFiles();
}

void AppLaunchView::fail(const std::string &message) {
    logMessages.append(message);
    errorMessage.set(message);
}

/// For the log: under the names that the user knows.
std::string AppLaunchView::reason(const std::exception &error) const {
    return errorText(error,
                     UserNames(services_.sandbox, selectedFileURL.get(), services_.displayPath));
}

/// The same for the console.
std::string AppLaunchView::rawReason(const std::exception &error) const {
    return rawText(error, reason(error));
}

} // namespace vellomir
