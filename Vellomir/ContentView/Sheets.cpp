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
    decoded_.close();
    decoding_.start([this, url](const auto &isCancelled) -> Task {
        std::optional<Picture> picture;
        std::exception_ptr failure;
        try {
            picture = Picture::read(url, {}, [&isCancelled] { return isCancelled.load(); });
        } catch (...) {
            failure = std::current_exception();
        }
        // The reason is worded on the main thread, because this object may be destroyed by now.
        return [this, picture = std::move(picture), failure = std::move(failure)] {
            if (failure)
                reportPicture(failure);
            imagePicker().makeCoordinator()->imagePickerController(picture);
            decoded_.open();
        };
    });
}

void AppLaunchView::reportPicture(const std::exception_ptr &failure) {
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        const std::string text = newJob().reason(error);
        services_.console("Error reading picture: " + text);
        services_.showMessage(text + ". The icon stays as it was.");
    }
}

void AppLaunchView::imagePickerCancelled() {
    decoding_.cancel();
    imagePicker().makeCoordinator()->imagePickerControllerDidCancel();
    decoded_.open();
}

/// Opens the cropper for a picked image. The square that the cropper makes is a change too, and
/// must not open it again.
void AppLaunchView::imageChanged(const std::optional<Picture> &image) {
    const auto previous = std::exchange(imageBefore_, image);
    if (image && !(previous && isSquareOf(*image, *previous)))
        showImageCropper.set(true);
}

} // namespace vellomir
