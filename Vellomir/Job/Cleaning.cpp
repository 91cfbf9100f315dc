// Job: emptying the sandbox's folders.

#include "Vellomir/Job/Job.h"

#include "Vellomir/Job/ErrorText.h"

#include <cstdlib>

namespace vellomir {

using archive::URL;

/// A sandbox always has one, unless a program has a bug.
URL Job::documentsFolder() const {
    const auto folder = services_.sandbox.documentsFolder();
    if (folder)
        return *folder;
    observer_.diagnosed("Fatal error: the sandbox has no folder for documents");
    std::abort();
}

void Job::clearTemporaryFiles() {
    try {
        for (const URL &child : services_.files->children(services_.sandbox.temporaryFolder()))
            services_.files->remove(child);
        observer_.logged("Temporary files cleared");
    } catch (const std::exception &error) {
        complain(Kind::temporaryFilesNotCleared, "Error clearing temporary files: ", error);
    }
}

void Job::diagnoseClearing(const std::exception &error) const {
    observer_.diagnosed("Error clearing Documents folder: " + rawText(error, reason(error)));
}

bool Job::clearDocuments() {
    const URL folder = documentsFolder();
    try {
        for (const URL &child : services_.files->children(folder))
            services_.files->remove(child);
        return true;
    } catch (const std::exception &error) {
        diagnoseClearing(error);
        return false;
    }
}

void Job::clearAllBut(const std::optional<URL> &kept) {
    const auto attempt = [this](const auto &action) {
        try {
            action();
        } catch (const std::exception &error) {
            diagnoseClearing(error);
        }
    };
    for (const URL &folder : {documentsFolder(), services_.sandbox.temporaryFolder()})
        attempt([&] {
            for (const URL &child : services_.files->children(folder))
                if (!kept || child.path() != kept->path())
                    attempt([&] { services_.files->remove(child); });
        });
}

} // namespace vellomir
