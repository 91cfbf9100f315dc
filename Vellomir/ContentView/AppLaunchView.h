#pragma once

#include "Vellomir/ContentView/JobProgress.h"
#include "Vellomir/ContentView/ResultRemarks.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Platform/BackgroundWork.h"
#include "Vellomir/Platform/LogMessages.h"
#include "Vellomir/Platform/Property.h"
#include "Vellomir/Platform/SandboxFiles.h"
#include "Vellomir/Platform/Services.h"
#include "Vellomir/PropertyLists/PropertyList.h"
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

/// The main screen without its looks: all state, and the job that makes the second copy of a
/// package.
///
/// The steps of the job do not throw: they return nothing when they fail, and say so in
/// `logMessages`. The reasons that the log keeps to itself go to the console.
class AppLaunchView {
public:
    class DocumentPickerManager;
    struct ActivityView;

    explicit AppLaunchView(Services services);
    /// Waits for the jobs that run. Completion steps that have not run by then never will.
    ~AppLaunchView();
    AppLaunchView(const AppLaunchView &) = delete;
    AppLaunchView &operator=(const AppLaunchView &) = delete;

    Property<std::optional<archive::URL>> selectedFileURL;
    Property<std::optional<archive::URL>> modifiedFileURL; ///< kept when a later job fails
    Property<ResultRemarks> modifiedFileRemarks;           ///< of the file in `modifiedFileURL`
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

    /// When the screen appears: from now on, it hears of the files that are picked.
    void onAppear();
    /// Empties the Documents folder, in the background, and then asks for a file. Does nothing
    /// while a job runs, or while the folder is being emptied.
    void selectFile();
    /// Takes the first of the files that were dropped, or named when the program was started, as if
    /// it had been picked. False, and nothing happens, in the same cases, if there is no file, or
    /// if it lies in the application's own folders and would be lost when these are emptied.
    [[nodiscard]] bool openDocuments(const std::vector<archive::URL> &urls);
    /// Takes the picked file. Nothing is read yet.
    void filePicked(const archive::URL &url);
    void pickIconAction();
    /// Takes the picked photo, which is decoded in the background. If it cannot be read, the user
    /// is told why, and the image stays as it is; either way the picker closes then.
    void pickedImage(const archive::URL &url);
    /// The picker closes, and a photo that is still being decoded is forgotten.
    void imagePickerCancelled();
    void removeImageAction();
    /// Starts a job in the background, after a file that was just picked has been read through and
    /// a photo that was just picked has been decoded; any number may run at once. Its completion
    /// step follows on the main queue.
    void doItAction();
    /// Empties the Documents folder and then the log; before another file is picked. Any thread;
    /// takes as long as deleting takes.
    void clearDocuments();
    void hideKeyboard() const;
    /// Breaks off the jobs that run and waits until they have ended; then removes all that they
    /// left behind, except the last result. For when the window is closed for good.
    void close();

    // --- What the sheets are made of: main thread ---------------------------------------------

    /// Nothing if there is no result to share.
    [[nodiscard]] std::optional<ActivityView> activityView();
    /// Must not outlive this object.
    [[nodiscard]] ImagePicker imagePicker();
    /// Must not outlive this object.
    [[nodiscard]] ImageCropperView imageCropperView();

    // --- The job: synchronous, on the calling thread ------------------------------------------

    void processIPAFile();
    /// Copies the package into Documents and unpacks it there; returns the folder.
    std::optional<archive::URL> unzipIPA(const archive::URL &url);
    /// Writes the icon files into the bundle below the folder; returns the bundle's path.
    std::optional<std::string> updateAppIcon(const archive::URL &url, const Picture &newIcon);
    /// Renames the bundle below the folder; returns its new display name.
    std::optional<std::string> updateInfoPlist(const archive::URL &url);
    /// Packs the folder's Payload; returns the new package.
    std::optional<archive::URL> zipUpdatedIPA(const archive::URL &url,
                                              const std::string &updatedAppName);
    void clearTemporaryFiles();

private:
    [[nodiscard]] Task whileAlive(Task task) const;
    [[nodiscard]] PresentationMode presentationMode(Property<bool> &isShown) const;
    void imageChanged(const std::optional<Picture> &image);

    [[nodiscard]] std::string reason(const std::exception &error) const;
    [[nodiscard]] std::string rawReason(const std::exception &error) const;

    void clearDocumentsAndThen(Task next);
    void whenFileIsSettled(Task task);
    void reportPicture(const std::exception_ptr &failure);
    void finishDecoding();
    void whenImageIsSettled(Task task);
    void startJob();
    void completeJob();
    void fail(const std::string &message);
    [[nodiscard]] archive::URL documentsFolder() const;
    void clearAtTheEnd(const archive::URL &folder) const;

    [[nodiscard]] std::optional<archive::URL> findBundle(const archive::URL &url) const;
    [[nodiscard]] std::optional<archive::Data> encodeIcon(const Picture &newIcon);
    [[nodiscard]] bool writeIcons(const archive::URL &bundle, const archive::Data &png);

    [[nodiscard]] std::optional<archive::URL> firstInfoPlist(const archive::URL &url) const;
    [[nodiscard]] std::optional<archive::URL> findInfoPlist(const archive::URL &url) const;
    [[nodiscard]] std::optional<PropertyList> readInfoPlist(const archive::URL &file) const;
    [[nodiscard]] std::string renameBundle(PropertyList &propertyList);
    void writeInfoPlist(const PropertyList &propertyList, const archive::URL &file);

    void stagePayload(const archive::URL &url, const archive::URL &staging);
    void removeAllButPayload(const archive::URL &staging) const;
    [[nodiscard]] archive::URL packagePlace(const archive::URL &output,
                                            const archive::URL &staging) const;
    void removeOldPackage(const archive::URL &place) const;

    Services services_;
    SandboxFiles files_;
    JobProgress progress_;
    Observation imageObservation_;
    std::optional<Picture> imageBefore_;
    BackgroundWork decoding_;
    std::shared_ptr<JobCounter> jobs_;
    bool isClearing_ = false;               ///< main thread
    std::vector<Task> waitingForDocuments_; ///< main thread
    bool isDecoding_ = false;               ///< main thread
    std::vector<Task> waitingForImage_;     ///< main thread
    std::shared_ptr<const bool> isAlive_ = std::make_shared<const bool>(true);
};

} // namespace vellomir
