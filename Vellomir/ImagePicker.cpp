#include "Vellomir/ImagePicker.h"

#include <utility>

namespace vellomir {

ImagePicker::ImagePicker(Property<std::optional<Picture>> &target, SourceType source,
                         PresentationMode presentation)
    : selected(target), sourceType(source), presentationMode(std::move(presentation)) {}

std::shared_ptr<ImagePicker::Coordinator> ImagePicker::makeCoordinator() const {
    return std::make_shared<Coordinator>(*this);
}

ImagePicker::Coordinator::Coordinator(ImagePicker picker) : parent(std::move(picker)) {}

void ImagePicker::Coordinator::imagePickerController(
    const std::optional<Picture> &didFinishPickingMediaWithInfo) const {
    const auto &picture = didFinishPickingMediaWithInfo;
    if (picture && picture->hasBitmap()) {
        // Setting an equal picture must notify observers too.
        if (parent.selected.get() == picture)
            parent.selected.set(std::nullopt);
        parent.selected.set(picture);
    }
    parent.presentationMode.dismiss();
}

void ImagePicker::Coordinator::imagePickerControllerDidCancel() const {
    parent.presentationMode.dismiss();
}

} // namespace vellomir
