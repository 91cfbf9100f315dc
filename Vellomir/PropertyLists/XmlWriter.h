#pragma once

#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

namespace vellomir {

/// Writes the list as XML 1.0 in UTF-8. Equal values give equal bytes.
///
/// A UID becomes a dictionary with the key "CF$UID"; a date loses its fraction of a second and a
/// NaN its payload, because the format has neither. Indentation stops growing at level 17.
///
/// Throws `PropertyListError::unwritablePropertyList`, with the keys that lead to the value, for
/// control characters, invalid UTF-8, dates outside the years 1 to 9999, and null;
/// `ArchiveError::cancelledOperation`. `progress` is checked at every value; it may be null.
[[nodiscard]] archive::Data writeXmlPropertyList(const PropertyListValue &value,
                                                 const archive::Progress *progress);

} // namespace vellomir
