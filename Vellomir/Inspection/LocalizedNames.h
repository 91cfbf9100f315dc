#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// The names that the app has in one language instead of those of its property list.
struct LocalizedName {
    std::string language;    ///< "de", "zh-Hans"
    std::string file;        ///< relative to the app's folder: "de.lproj/InfoPlist.strings"
    std::string displayName; ///< "" if the language has no own
    std::string name;        ///< "" if the language has no own

    friend bool operator==(const LocalizedName &, const LocalizedName &) = default;
};

/// The key of InfoPlist.loctable that says where its texts come from. All others are languages.
inline constexpr std::string_view keyOfNoLanguage = "LocProvenance";

/// Whether the path, relative to the app's folder, is that of a file with names by language.
[[nodiscard]] bool mayHaveLocalizedNames(std::string_view path);

/// The language of an InfoPlist.strings in a folder *.lproj: the folder's name without its
/// extension. "" for other paths, which are relative to the app's folder.
[[nodiscard]] std::string_view languageOfStrings(std::string_view path);

/// The names that such a file sets; `path` says for which language, or that the file is a table of
/// languages (InfoPlist.loctable).
[[nodiscard]] std::vector<LocalizedName> localizedNames(const std::string &path,
                                                        const PropertyList &list);

} // namespace vellomir
