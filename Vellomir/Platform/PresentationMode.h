#pragma once

#include "Vellomir/Platform/Queue.h"

namespace vellomir {

/// What a sheet knows of its being shown.
struct PresentationMode {
    Task dismiss; ///< closes the sheet; on the main thread, at any time, any number of times
};

} // namespace vellomir
