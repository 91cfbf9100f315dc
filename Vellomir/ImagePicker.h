#pragma once

#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/PresentationMode.h"

#include <memory>
#include <optional>

namespace vellomir {

/// The inputs of the photo picker. Main thread only. Must not outlive the property that it sets.
class ImagePicker {
public:
    class Coordinator;
    /// Where the pictures come from.
    enum class SourceType { photoLibrary };

    ImagePicker(Property<std::optional<Picture>> &target, SourceType source,
                PresentationMode presentation);

    Property<std::optional<Picture>> &selected;
    SourceType sourceType;
    PresentationMode presentationMode; ///< of the picker

    [[nodiscard]] std::shared_ptr<Coordinator> makeCoordinator() const;
};

/// Receives the photo picker's answer. Main thread only.
class ImagePicker::Coordinator {
public:
    explicit Coordinator(ImagePicker picker);

    const ImagePicker parent;

    /// Selects the picture and dismisses the picker. Without a picture, or with one without a
    /// bitmap, the selection does not change.
    void imagePickerController(const std::optional<Picture> &didFinishPickingMediaWithInfo) const;
    /// Dismisses the picker.
    void imagePickerControllerDidCancel() const;
};

} // namespace vellomir
