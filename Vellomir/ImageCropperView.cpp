#include "Vellomir/ImageCropperView.h"

#include <utility>

namespace vellomir {

ImageCropperView::ImageCropperView(Property<std::optional<Picture>> &picture,
                                   PresentationMode presentation)
    : image(picture), presentationMode(std::move(presentation)) {}

void ImageCropperView::use() const {
    presentationMode.dismiss();
}

void ImageCropperView::zoomIt() {
    const auto picture = image.get();
    if (!picture || !picture->hasBitmap())
        return;
    cropped = cropImageToSquare(*picture);
    image.set(cropped);
    presentationMode.dismiss();
}

Picture ImageCropperView::cropImageToSquare(const Picture &image) {
    return vellomir::cropImageToSquare(image);
}

} // namespace vellomir
