#pragma once

#include "Vellomir/Concurrency/Queue.h"

namespace vellomir {

/// A sheet's access to its own presentation.
struct PresentationMode {
    Task dismiss; ///< closes the sheet; on the main thread, at any time, any number of times
};

} // namespace vellomir
