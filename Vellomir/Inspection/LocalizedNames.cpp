#include "Vellomir/Inspection/LocalizedNames.h"

#include "Vellomir/Inspection/ListValues.h"

namespace vellomir {
namespace {

constexpr std::string_view stringsFile = ".lproj/InfoPlist.strings";
constexpr std::string_view tableFile = "InfoPlist.loctable";

void addLanguage(std::vector<LocalizedName> &names, std::string_view language,
                 const std::string &file, const PropertyListValue &texts) {
    LocalizedName name{.language = kept(language),
                       .file = file,
                       .displayName = textAt(&texts, "CFBundleDisplayName"),
                       .name = textAt(&texts, "CFBundleName")};
    if (!name.displayName.empty() || !name.name.empty())
        names.push_back(std::move(name));
}

} // namespace

std::string_view languageOfStrings(std::string_view path) {
    if (!path.ends_with(stringsFile))
        return {};
    path.remove_suffix(stringsFile.size());
    return path.find('/') == path.npos ? path : std::string_view();
}

bool mayHaveLocalizedNames(std::string_view path) {
    return path == tableFile || !languageOfStrings(path).empty();
}

std::vector<LocalizedName> localizedNames(const std::string &path, const PropertyList &list) {
    std::vector<LocalizedName> names;
    if (path != tableFile) {
        addLanguage(names, languageOfStrings(path), path, list.value());
        return names;
    }
    static constexpr std::size_t maximumLanguages = 1000;
    for (const auto &[language, texts] : list.members())
        if (names.size() < maximumLanguages && language != keyOfNoLanguage)
            addLanguage(names, language, path, texts);
    return names;
}

} // namespace vellomir
