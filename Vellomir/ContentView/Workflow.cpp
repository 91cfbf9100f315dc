// AppLaunchView: the operations that a job does, and what it reports.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/CopyWarnings.h"
#include "Vellomir/Sandbox/SandboxFiles.h"

namespace vellomir {

using archive::URL;

/// The job's steps read the number and the image when they need them.
Job AppLaunchView::newJob() {
    return Job({.package = selectedFileURL.get(),
                .duplicationNumber = [this] { return duplicationNumber.get(); },
                .icon = [this] { return selectedImage.get(); }},
               {.sandbox = services_.sandbox,
                .files = std::make_shared<SandboxFiles>(services_.sandbox.root()),
                .progress = services_.progress,
                .jobs = 0, // one a core
                .displayPath = services_.displayPath},
               *this);
}

void AppLaunchView::processIPAFile() {
    newJob().run();
}

std::optional<URL> AppLaunchView::unzipIPA(const URL &url) {
    return newJob().unzipIPA(url);
}

std::optional<std::string> AppLaunchView::updateAppIcon(const URL &url, const Picture &newIcon) {
    return newJob().updateAppIcon(url, newIcon);
}

std::optional<std::string> AppLaunchView::updateInfoPlist(const URL &url) {
    return newJob().updateInfoPlist(url);
}

std::optional<URL> AppLaunchView::zipUpdatedIPA(const URL &url, const std::string &updatedAppName) {
    return newJob().zipUpdatedIPA(url, updatedAppName);
}

void AppLaunchView::clearTemporaryFiles() {
    newJob().clearTemporaryFiles();
}

void AppLaunchView::clearDocuments() {
    if (newJob().clearDocuments())
        logMessages.replace({});
}

void AppLaunchView::logRestarted(const std::string &line) {
    logMessages.replace({line});
}

void AppLaunchView::logged(const std::string &line) {
    logMessages.append(line);
}

void AppLaunchView::diagnosed(const std::string &line) {
    services_.console(line);
}

void AppLaunchView::summarized(const std::string &text) {
    errorMessage.set(text);
}

void AppLaunchView::finished(const URL &result, const ResultRemarks &remarks) {
    modifiedFileRemarks.set(remarks);
    modifiedFileWarnings.set(warningsAbout(result, services_.progress));
    modifiedFileURL.set(result);
}

} // namespace vellomir
