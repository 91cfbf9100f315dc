#pragma once

#include "Vellomir/Concurrency/BackgroundWork.h"
#include "Vellomir/Concurrency/Gate.h"
#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/ContentView/LogMessages.h"
#include "Vellomir/ContentView/Services.h"
#include "Vellomir/Inspection/Inspection.h"
#include "Vellomir/Job/Job.h"
#include "Vellomir/Pictures/Picture.h"
#include "archive/URL.h"

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

class ImageCropperView;
class ImagePicker;
class JobCounter;
struct PresentationMode;

/// The state and the actions of the main screen. No user interface.
///
/// The operations that change the package use a `Job`, whose log, result and summary become this
/// state. Details that the log omits go to the console.
class AppLaunchView : private JobObserver {
public:
    class DocumentPickerManager;
    struct ActivityView;

    explicit AppLaunchView(Services services);
    /// Waits for running jobs. Their completion steps that have not run by then are dropped.
    ~AppLaunchView() override;
    AppLaunchView(const AppLaunchView &) = delete;
    AppLaunchView &operator=(const AppLaunchView &) = delete;

    Property<std::optional<archive::URL>> selectedFileURL;
    Property<std::optional<archive::URL>> modifiedFileURL; ///< kept when a later job fails
    Property<ResultRemarks> modifiedFileRemarks;           ///< of the file in `modifiedFileURL`
    Property<std::vector<InspectionWarning>> modifiedFileWarnings; ///< of that file, too
    const std::shared_ptr<DocumentPickerManager> documentPickerManager;
    Property<bool> showShareSheet;
    Property<std::string> duplicationNumber;
    Property<bool> showImagePicker;
    Property<bool> showImageCropper;
    Property<std::optional<Picture>> selectedImage;
    Property<bool> isLoading;
    Property<bool> isProcessing;
    Property<std::string> errorMessage;
    LogMessages logMessages;
    Property<bool> showInfoSheet;

    // --- Actions: main thread, return at once -------------------------------------------------

    /// Called when the screen appears; from then on, picked files are accepted.
    void onAppear();
    /// Empties the Documents folder in the background, then shows the document picker. Does nothing
    /// while a job runs or while the folder is being emptied.
    void selectFile();
    /// Takes the first of the files that were dropped, or passed on the command line, as if it had
    /// been picked. Returns false and does nothing if a job runs, if the folder is being emptied,
    /// if there is no file, or if the file is in the application's own folders, which are emptied
    /// first.
    [[nodiscard]] bool openDocuments(const std::vector<archive::URL> &urls);
    /// Selects the picked file without reading it.
    void filePicked(const archive::URL &url);
    void pickIconAction();
    /// Decodes the picked photo in the background, then closes the picker. If the photo cannot be
    /// read, the user gets a message with the reason and the image does not change.
    void pickedImage(const archive::URL &url);
    /// Closes the picker and cancels the decoding of a photo.
    void imagePickerCancelled();
    void removeImageAction();
    /// Starts a job in the background; several may run at once. It waits until a picked file has
    /// been read through and a picked photo has been decoded. The completion step runs on the main
    /// queue.
    void doItAction();
    /// Empties the Documents folder, then the log; used before another file is picked. Any thread;
    /// blocks until all is deleted.
    void clearDocuments();
    void hideKeyboard() const;
    /// Cancels the running jobs, waits for them, and deletes all files except the last result.
    /// Called when the window closes for good.
    void close();

    // --- The inputs of the sheets: main thread ------------------------------------------------

    /// Nothing if there is no result to share.
    [[nodiscard]] std::optional<ActivityView> activityView();
    /// Must not outlive this object.
    [[nodiscard]] ImagePicker imagePicker();
    /// Must not outlive this object.
    [[nodiscard]] ImageCropperView imageCropperView();

    // --- The operations of the job: synchronous, on the calling thread -----------------------

    /// Runs all steps with the state's file, number and image. Does nothing without a file.
    void processIPAFile();
    /// The steps, one by one: see `Job`.
    std::optional<archive::URL> unzipIPA(const archive::URL &url);
    std::optional<std::string> updateAppIcon(const archive::URL &url, const Picture &newIcon);
    std::optional<std::string> updateInfoPlist(const archive::URL &url);
    std::optional<archive::URL> zipUpdatedIPA(const archive::URL &url,
                                              const std::string &updatedAppName);
    void clearTemporaryFiles();

private:
    [[nodiscard]] Job newJob();
    void logRestarted(const std::string &line) override;
    void logged(const std::string &line) override;
    void diagnosed(const std::string &line) override;
    void summarized(const std::string &text) override;
    void finished(const archive::URL &result, const ResultRemarks &remarks) override;

    [[nodiscard]] Task whileAlive(Task task) const;
    [[nodiscard]] PresentationMode presentationMode(Property<bool> &isShown) const;
    void imageChanged(const std::optional<Picture> &image);
    void clearDocumentsAndThen(Task next);
    void whenFileIsRead(Task task);
    void reportPicture(const std::exception_ptr &failure);
    void startJob();
    void completeJob();

    Services services_;
    Observation imageObservation_;
    std::optional<Picture> imageBefore_;
    BackgroundWork decoding_;
    std::shared_ptr<JobCounter> jobs_;
    Gate clearing_; ///< closed while the Documents folder is emptied
    Gate decoded_;  ///< closed while a photo is decoded
    std::shared_ptr<const bool> isAlive_ = std::make_shared<const bool>(true);
};

} // namespace vellomir
