// AppLaunchView: emptying the sandbox's folders.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/JobCounter.h"

#include <cstdlib>

namespace vellomir {

/// A sandbox is never without one; a program that made it so is broken.
archive::URL AppLaunchView::documentsFolder() const {
    const auto folder = services_.sandbox.documentsFolder();
    if (folder)
        return *folder;
    services_.console("Fatal error: the sandbox has no folder for documents");
    std::abort();
}

void AppLaunchView::clearDocuments() {
    const archive::URL folder = documentsFolder();
    try {
        for (const archive::URL &child : files_.children(folder))
            files_.remove(child);
        logMessages.replace({});
    } catch (const std::exception &error) {
        services_.console("Error clearing Documents folder: " + rawReason(error));
    }
}

void AppLaunchView::clearTemporaryFiles() {
    try {
        for (const archive::URL &child : files_.children(services_.sandbox.temporaryFolder()))
            files_.remove(child);
        logMessages.append("Temporary files cleared");
    } catch (const std::exception &error) {
        logMessages.append("Error clearing temporary files: " + reason(error));
        services_.console(rawReason(error));
    }
}

void AppLaunchView::close() {
    if (services_.progress)
        services_.progress->cancel();
    jobs_->waitForAll();
    for (const archive::URL &folder : {documentsFolder(), services_.sandbox.temporaryFolder()})
        clearAtTheEnd(folder);
}

/// All but the last result; what cannot be removed does not keep the rest.
void AppLaunchView::clearAtTheEnd(const archive::URL &folder) const {
    const auto result = modifiedFileURL.get();
    const auto attempt = [this](const auto &action) {
        try {
            action();
        } catch (const std::exception &error) {
            services_.console("Error clearing Documents folder: " + rawReason(error));
        }
    };
    attempt([&] {
        for (const archive::URL &child : files_.children(folder))
            if (!result || child.path() != result->path())
                attempt([&] { files_.remove(child); });
    });
}

} // namespace vellomir
