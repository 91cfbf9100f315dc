// AppLaunchView: the inputs and the results of the sheets.

#include "Vellomir/ContentView/ActivityView.h"
#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ImageCropperView.h"
#include "Vellomir/ImagePicker.h"

#include <utility>

namespace vellomir {
namespace {

/// True only for a square cut from `whole`: a square shares the pixels of its source.
bool isSquareOf(const Picture &image, const Picture &whole) {
    return whole.hasBitmap() && image == ImageCropperView::cropImageToSquare(whole);
}

} // namespace

Task AppLaunchView::whileAlive(Task task) const {
    return [alive = std::weak_ptr(isAlive_), task = std::move(task)] {
        if (!alive.expired())
            task();
    };
}

PresentationMode AppLaunchView::presentationMode(Property<bool> &isShown) const {
    return {.dismiss = whileAlive([&isShown] { isShown.set(false); })};
}

std::optional<AppLaunchView::ActivityView> AppLaunchView::activityView() {
    const auto result = modifiedFileURL.get();
    if (!result)
        return std::nullopt;
    return ActivityView{
        .activityItems = {*result},
        .applicationActivities = std::nullopt,
        .presentationMode = presentationMode(showShareSheet),
        .onDismiss = whileAlive([this] { selectedFileURL.set(std::nullopt); }),
    };
}

ImagePicker AppLaunchView::imagePicker() {
    return {selectedImage, ImagePicker::SourceType::photoLibrary,
            presentationMode(showImagePicker)};
}

ImageCropperView AppLaunchView::imageCropperView() {
    return {selectedImage, presentationMode(showImageCropper)};
}

void AppLaunchView::pickedImage(const archive::URL &url) {
    isDecoding_ = true;
    decoding_.start([this, url](const auto &isCancelled) -> Task {
        std::optional<Picture> picture;
        std::exception_ptr failure;
        try {
            picture = Picture::read(url, {}, [&isCancelled] { return isCancelled.load(); });
        } catch (...) {
            failure = std::current_exception();
        }
        // The reason is put into words on the main thread: this object may have gone by now.
        return [this, picture = std::move(picture), failure = std::move(failure)] {
            if (failure)
                reportPicture(failure);
            imagePicker().makeCoordinator()->imagePickerController(picture);
            finishDecoding();
        };
    });
}

void AppLaunchView::reportPicture(const std::exception_ptr &failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        const std::string text = reason(error);
        services_.console("Error reading picture: " + text);
        services_.tell(text + ". The icon stays as it was.");
    }
}

void AppLaunchView::imagePickerCancelled() {
    decoding_.cancel();
    imagePicker().makeCoordinator()->imagePickerControllerDidCancel();
    finishDecoding();
}

void AppLaunchView::finishDecoding() {
    isDecoding_ = false;
    for (Task &task : std::exchange(waitingForImage_, {}))
        task();
}

void AppLaunchView::whenImageIsSettled(Task task) {
    if (isDecoding_)
        waitingForImage_.push_back(std::move(task));
    else
        task();
}

/// Opens the cropper for a picked image. The square that the cropper makes is a change too, and
/// must not open it again.
void AppLaunchView::imageChanged(const std::optional<Picture> &image) {
    const auto previous = std::exchange(imageBefore_, image);
    if (image && !(previous && isSquareOf(*image, *previous)))
        showImageCropper.set(true);
}

} // namespace vellomir
