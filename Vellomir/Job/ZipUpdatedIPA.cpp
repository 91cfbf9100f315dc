// Job: packing the changed bundle.

#include "Vellomir/Job/Job.h"
#include "Vellomir/Job/PackageParts.h"

namespace vellomir {

std::optional<archive::URL> Job::zipUpdatedIPA(const archive::URL &url,
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
        progress_.run(services_.files->shares().packing, [&](const auto &progress) {
            services_.files->pack(staging, place, {.progress = progress, .jobs = services_.jobs});
        });
        services_.files->remove(staging);
        observer_.logged("Zipped updated app successfully");
        return output;
    } catch (const std::exception &error) {
        failure_ = report(Kind::packageNotZipped, "Error while zipping updated app: ", error);
        return std::nullopt;
    }
}

/// Failures are only reported: whether there is a package, packing decides.
void Job::stagePayload(const archive::URL &url, const archive::URL &staging) {
    try {
        services_.files->createFolder(staging);
        observer_.logged("Created temporary folder");
    } catch (const std::exception &error) {
        complain(Kind::stagingFolderNotCreated, "Error while creating temporary folder: ", error);
    }
    try {
        services_.files->move(url.appendingPathComponent(payloadName),
                              staging.appendingPathComponent(payloadName));
        observer_.logged("Moved Payload folder");
    } catch (const std::exception &error) {
        complain(Kind::payloadNotMoved, "Error while moving Payload folder: ", error);
    }
}

/// The package "tempFolder.ipa" is unpacked in the staging folder. Its other files do not belong
/// into the new package.
void Job::removeAllButPayload(const archive::URL &staging) const {
    if (!services_.files->isFolder(staging))
        return;
    for (const archive::URL &child : services_.files->children(staging))
        if (child.lastPathComponent() != payloadName)
            services_.files->remove(child);
}

/// The name comes from the package, so it is untrusted: the result must be in Documents, and not in
/// the folder that it is made from.
archive::URL Job::packagePlace(const archive::URL &output, const archive::URL &staging) const {
    archive::URL place = services_.files->withoutLinks(output);
    if (!place.isContained(documentsFolder()) || place.isContained(staging))
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = output.path(),
                     .detail = "The app's new name leads out of the folder for results"});
    return place;
}

void Job::removeOldPackage(const archive::URL &place) const {
    try {
        services_.files->removeIfThere(place);
    } catch (const std::exception &error) {
        diagnose(error); // Packing fails if it is still there.
    }
}

} // namespace vellomir
