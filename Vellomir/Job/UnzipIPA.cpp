// Job: unpacking the picked package.

#include "Vellomir/Job/Job.h"
#include "Vellomir/Job/PackageParts.h"

namespace vellomir {

std::optional<archive::URL> Job::unzipIPA(const archive::URL &url) {
    try {
        const archive::URL copy = documentsFolder().appendingPathComponent(url.lastPathComponent());
        const archive::URL folder =
            copy.deletingPathExtension().appendingPathComponent("unzipped/");
        observer_.logRestarted("Unzipping IPA...");

        progress_.run(services_.files->shares().copying,
                      [&](const auto &progress) { services_.files->copyIn(url, copy, progress); });
        services_.files->removeIfThere(folder);
        services_.files->createFolder(folder);
        progress_.run(services_.files->shares().unpacking, [&](const auto &progress) {
            services_.files->unpack(copy, folder,
                                    {.progress = progress,
                                     .nameEncoding = input_.nameEncoding,
                                     .packedFolder = payloadName,
                                     .mayChange = changeableFiles(folder),
                                     .jobs = services_.jobs});
        });

        observer_.logged("Unzipped IPA file successfully");
        return folder;
    } catch (const std::exception &error) {
        failure_ = report(Kind::packageNotUnzipped, "Error unzipping IPA file: ", error);
        return std::nullopt;
    }
}

} // namespace vellomir
