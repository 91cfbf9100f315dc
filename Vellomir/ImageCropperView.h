#pragma once

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Platform/PresentationMode.h"
#include "Vellomir/Platform/Property.h"

#include <optional>

namespace vellomir {

/// What the square cropper is made of; a new one each time it is shown. Belongs to the main thread,
/// and must not outlive the picture that it changes.
class ImageCropperView {
public:
    ImageCropperView(Property<std::optional<Picture>> &picture, PresentationMode presentation);

    Property<std::optional<Picture>> &image;
    std::optional<Picture> cropped;    ///< the square, once it was made
    PresentationMode presentationMode; ///< of the cropper

    /// Keeps the picture as it was picked, and closes the cropper.
    void use() const;
    /// Puts the picture's centred square in its place, and closes the cropper. Does nothing without
    /// a picture.
    void zoomIt();

    /// The centred square of the stored pixels, with the picture's scale and orientation. A picture
    /// without a bitmap ends the program.
    [[nodiscard]] static Picture cropImageToSquare(const Picture &image);
};

} // namespace vellomir
