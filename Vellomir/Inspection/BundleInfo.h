#pragma once

#include "Vellomir/PropertyLists/PropertyList.h"

#include <string>
#include <vector>

namespace vellomir {

/// What the property list of a bundle says of it. A text is "" if the list does not have it.
struct BundleInfo {
    std::string identifier;
    std::string displayName;
    std::string name;
    std::string version; ///< that users see
    std::string build;
    std::string minimumSystemVersion;
    std::string executable;
    std::string companion; ///< of a watch app: the identifier of the app that it belongs to
    std::string watchApp;  ///< of a watch extension: the identifier of its watch app
    std::vector<std::string> iconNames; ///< of files and of a catalogue, without duplicates
    std::vector<std::string> urlSchemes;
    bool namesCatalogueIcon = false; ///< a key that a copy keeps names an icon in a catalogue
    bool hasTabletIcons = false;     ///< keys that a copy keeps list icons for the iPad
    bool hasCopyIcons = false;       ///< the icons are the files that every copy lists

    friend bool operator==(const BundleInfo &, const BundleInfo &) = default;
};

[[nodiscard]] BundleInfo bundleInfo(const PropertyList &list);

} // namespace vellomir
