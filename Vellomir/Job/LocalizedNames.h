#pragma once

#include "Vellomir/Job/ChangeRecord.h"

#include <functional>

namespace vellomir {

/// The new name for an old one.
using NameChange = std::function<std::string(const std::string &oldName)>;

/// What became of the names in a file of localized texts.
struct LocalizedChanges {
    std::vector<ValueChange> changes;
    std::vector<KeyPath> unusable; ///< names that are no texts, and stay
};

/// Changes "CFBundleDisplayName" and "CFBundleName" in the texts of one language: the members of an
/// InfoPlist.strings.
[[nodiscard]] LocalizedChanges changeNames(PropertyListDictionary &texts,
                                           const NameChange &newName);

/// The same in an InfoPlist.loctable, which has a dictionary of texts for each language.
[[nodiscard]] LocalizedChanges changeNamesOfLanguages(PropertyListDictionary &languages,
                                                      const NameChange &newName);

} // namespace vellomir
