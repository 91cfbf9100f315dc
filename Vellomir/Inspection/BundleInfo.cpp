#include "Vellomir/Inspection/BundleInfo.h"

#include "Vellomir/Inspection/IconFiles.h"
#include "Vellomir/Inspection/ListValues.h"

namespace vellomir {
namespace {

std::vector<std::string> iconNames(const PropertyListValue *root) {
    std::vector<std::string> names;
    for (const char *key :
         {"CFBundleIconFiles", "CFBundleIconFiles~ipad", "CFBundleIconFile", "CFBundleIconName"})
        addNew(names, textsOf(member(root, key)));
    for (const char *key : {"CFBundleIcons", "CFBundleIcons~ipad"}) {
        const auto *const primary = member(member(root, key), "CFBundlePrimaryIcon");
        addNew(names, textsOf(member(primary, "CFBundleIconFiles")));
        addNew(names, textsOf(member(primary, "CFBundleIconName")));
    }
    return names;
}

std::vector<std::string> urlSchemes(const PropertyListValue *root) {
    std::vector<std::string> schemes;
    const PropertyListValue *const types = member(root, "CFBundleURLTypes");
    const auto *array = types ? std::get_if<PropertyListArray>(&types->content) : nullptr;
    if (array == nullptr)
        return schemes;
    for (const PropertyListValue &type : *array)
        if (schemes.size() < maximumKeptTexts)
            addNew(schemes, textsOf(member(&type, "CFBundleURLSchemes")));
    return schemes;
}

} // namespace

BundleInfo bundleInfo(const PropertyList &list) {
    const PropertyListValue *const root = &list.value();
    BundleInfo info;
    info.identifier = textAt(root, "CFBundleIdentifier");
    info.displayName = textAt(root, "CFBundleDisplayName");
    info.name = textAt(root, "CFBundleName");
    info.version = textAt(root, "CFBundleShortVersionString");
    info.build = textAt(root, "CFBundleVersion");
    info.minimumSystemVersion = textAt(root, "MinimumOSVersion");
    info.executable = textAt(root, "CFBundleExecutable");
    info.companion = textAt(root, "WKCompanionAppBundleIdentifier");
    info.watchApp = textAt(member(member(root, "NSExtension"), "NSExtensionAttributes"),
                           "WKAppBundleIdentifier");
    info.iconNames = iconNames(root);
    info.urlSchemes = urlSchemes(root);
    info.namesCatalogueIcon = !textAt(root, "CFBundleIconName").empty();
    info.hasTabletIcons = member(root, "CFBundleIcons~ipad") != nullptr ||
                          member(root, "CFBundleIconFiles~ipad") != nullptr;
    info.hasCopyIcons = member(root, "CFBundleIcons") == nullptr &&
                        textsOf(member(root, "CFBundleIconFiles")) == iconFileNames;
    return info;
}

} // namespace vellomir
