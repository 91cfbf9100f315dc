#pragma once

#include "Vellomir/Job/BundleIdentifiers.h"
#include "Vellomir/Job/ListEditor.h"

namespace vellomir {

/// Gives the extensions, watch apps and app clips of an app identifiers that begin with its new
/// one, and changes the keys that name another bundle, in `appList` as well: the app's own list,
/// relative to its folder. Frameworks stay as they are. Texts that still hold the old identifier
/// are recorded, and identifiers that do not begin with it are a warning. Does not throw.
void changeNestedIdentifiers(const ListEditor &editor, const std::string &appList,
                             const IdentifierChange &change);

} // namespace vellomir
