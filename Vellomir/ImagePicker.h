#pragma once

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Platform/PresentationMode.h"
#include "Vellomir/Platform/Property.h"

#include <memory>
#include <optional>

namespace vellomir {

/// What the photo picker is made of. Belongs to the main thread, and must not outlive what it
/// writes into.
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

/// Hears from the photo picker what was picked. Belongs to the main thread.
class ImagePicker::Coordinator {
public:
    explicit Coordinator(ImagePicker picker);

    const ImagePicker parent;

    /// Takes the picture as it was picked; with none, or one without a bitmap, the selected one
    /// stays. Dismisses the picker.
    void imagePickerController(const std::optional<Picture> &didFinishPickingMediaWithInfo) const;
    /// Dismisses the picker.
    void imagePickerControllerDidCancel() const;
};

} // namespace vellomir
