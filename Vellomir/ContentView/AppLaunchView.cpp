#include "Vellomir/ContentView/AppLaunchView.h"

#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "Vellomir/ContentView/JobCounter.h"

namespace vellomir {

AppLaunchView::AppLaunchView(Services services)
    : selectedFileURL(services.mainQueue), modifiedFileURL(services.mainQueue),
      modifiedFileRemarks(services.mainQueue), modifiedFileWarnings(services.mainQueue),
      documentPickerManager(std::make_shared<DocumentPickerManager>(
          services.mainQueue, services.backgroundQueue, services.console)),
      showShareSheet(services.mainQueue), duplicationNumber(services.mainQueue),
      showImagePicker(services.mainQueue), showImageCropper(services.mainQueue),
      selectedImage(services.mainQueue), isLoading(services.mainQueue),
      isProcessing(services.mainQueue), errorMessage(services.mainQueue),
      logMessages(services.mainQueue), showInfoSheet(services.mainQueue),
      services_(std::move(services)), decoding_(services_.mainQueue, services_.backgroundQueue),
      jobs_(std::make_shared<JobCounter>()) {
    imageObservation_ =
        selectedImage.observe([this](const std::optional<Picture> &image) { imageChanged(image); });
}

AppLaunchView::~AppLaunchView() {
    jobs_->waitForAll();
}

void AppLaunchView::filePicked(const archive::URL &url) {
    services_.console("Selected file URL: " + url.absoluteString());
    selectedFileURL.set(url);
    logMessages.append("File selected: " + url.lastPathComponent());
}

void AppLaunchView::pickIconAction() {
    showImagePicker.set(true);
}

void AppLaunchView::removeImageAction() {
    selectedImage.set(std::nullopt);
}

void AppLaunchView::hideKeyboard() const {
    services_.hideKeyboard();
}

void AppLaunchView::doItAction() {
    hideKeyboard();
    isLoading.set(true);
    isProcessing.set(true);
    // A file that was picked just before belongs to this job, even if reading it takes long.
    whenFileIsRead(whileAlive([this] { decoded_.whenOpen(whileAlive([this] { startJob(); })); }));
}

void AppLaunchView::startJob() {
    services_.backgroundQueue([this, job = jobs_->startJob()] {
        processIPAFile();
        // This object may be destroyed before the main queue runs the task.
        services_.mainQueue(whileAlive([this] { completeJob(); }));
    });
}

void AppLaunchView::completeJob() {
    isLoading.set(false);
    isProcessing.set(false);
    duplicationNumber.set({});
    selectedImage.set(std::nullopt);
    hideKeyboard();
    const auto result = modifiedFileURL.get();
    if (!result)
        return;
    showShareSheet.set(true);
    modifiedFileURL.set(result);
    selectedFileURL.set(std::nullopt);
}

void AppLaunchView::close() {
    if (services_.progress)
        services_.progress->cancel();
    jobs_->waitForAll();
    newJob().clearAllBut(modifiedFileURL.get());
}

} // namespace vellomir
