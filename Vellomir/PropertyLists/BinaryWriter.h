#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

namespace vellomir {

/// Writes the list in the binary format, version 00. Equal values give equal bytes; equal texts are
/// stored once.
///
/// Throws `PropertyListError::unwritablePropertyList` for texts that are not valid UTF-8 and for
/// values nested deeper than `maximumPropertyListDepth`; `ArchiveError::cancelledOperation`.
/// `progress` is checked at every value; it may be null.
[[nodiscard]] archive::Data writeBinaryPropertyList(const PropertyListValue &value,
                                                    const archive::Progress *progress);

} // namespace vellomir
