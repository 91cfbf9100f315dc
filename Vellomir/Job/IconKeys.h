#pragma once

#include "Vellomir/Job/ChangeRecord.h"
#include "Vellomir/PropertyLists/PropertyList.h"

namespace vellomir {

/// Removes the keys of an app's list that a phone or an iPad prefers to "CFBundleIconFiles": those
/// of the iPad ("CFBundleIcons~ipad"), of an asset catalogue ("CFBundleIconName"), and of older
/// systems ("CFBundleIconFile"), each also with the name of a platform or device behind it.
[[nodiscard]] std::vector<ValueChange> removeHidingIconKeys(PropertyList &list);

} // namespace vellomir
