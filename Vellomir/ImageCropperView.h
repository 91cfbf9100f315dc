#pragma once

#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/PresentationMode.h"

#include <optional>

namespace vellomir {

/// The inputs of the square cropper; made each time it is shown. Main thread only. Must not outlive
/// the picture that it changes.
class ImageCropperView {
public:
    ImageCropperView(Property<std::optional<Picture>> &picture, PresentationMode presentation);

    Property<std::optional<Picture>> &image;
    std::optional<Picture> cropped;    ///< the square, after `zoomIt`
    PresentationMode presentationMode; ///< of the cropper

    /// Closes the cropper; the picture does not change.
    void use() const;
    /// Replaces the picture by its centred square and closes the cropper. Does nothing without a
    /// picture.
    void zoomIt();

    /// The centred square of the stored pixels, with the picture's scale and orientation. Aborts
    /// the program if the picture has no bitmap.
    [[nodiscard]] static Picture cropImageToSquare(const Picture &image);
};

} // namespace vellomir
