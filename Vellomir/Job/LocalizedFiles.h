#pragma once

#include "Vellomir/Job/ListEditor.h"
#include "Vellomir/Job/LocalizedNames.h"

namespace vellomir {

/// Changes the names in each *.lproj/InfoPlist.strings of an app and in its InfoPlist.loctable, in
/// the order of their paths. Does not throw.
void changeLocalizedNames(const ListEditor &editor, const NameChange &newName);

} // namespace vellomir
