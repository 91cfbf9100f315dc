#pragma once

#include "files/Error.h"

namespace vellomir::archive {

// The exception of the engine, and the codes of what the file system refuses.
using vellomir::Error;
using vellomir::ErrorContext;
using vellomir::FileError;
using vellomir::readError;
using vellomir::writeError;

} // namespace vellomir::archive
