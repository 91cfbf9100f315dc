#pragma once

#include "Vellomir/Concurrency/BackgroundWork.h"
#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/ContentView/LogMessages.h"
#include "Vellomir/ContentView/Services.h"
#include "Vellomir/Job/JobProgress.h"
#include "Vellomir/Job/ResultRemarks.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "Vellomir/Sandbox/SandboxFiles.h"
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

/// The state and the actions of the main screen, and the job that makes the second copy of a
/// package. No user interface.
///
/// The steps of the job do not throw: when they fail, they return nothing and add a line to
/// `logMessages`. Details that the log omits go to the console.
class AppLaunchView {
public:
    class DocumentPickerManager;
    struct ActivityView;

    explicit AppLaunchView(Services services);
    /// Waits for running jobs. Their completion steps that have not run by then are dropped.
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

    // --- The job: synchronous, on the calling thread ------------------------------------------

    void processIPAFile();
    /// Copies the package into Documents and unpacks it there. Returns the folder.
    std::optional<archive::URL> unzipIPA(const archive::URL &url);
    /// Writes the icon files into the bundle below the folder. Returns the bundle's path.
    std::optional<std::string> updateAppIcon(const archive::URL &url, const Picture &newIcon);
    /// Changes the names in the bundle's property list. Returns the new display name.
    std::optional<std::string> updateInfoPlist(const archive::URL &url);
    /// Packs the folder's Payload. Returns the new package.
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
