#pragma once

#include "Vellomir/Inspection/Inspection.h"

#include <map>
#include <set>
#include <string>

/// The two walks over a package's directory, which read no data.
namespace vellomir {

/// So many items of each kind are looked at.
inline constexpr std::size_t maximumItems = 1000;

/// What the directory says of the package as a whole.
struct PackageSurvey {
    std::string propertyList; ///< the path of the app's entry, as the archive has it
    /// The app's folder, the folders of all apps, numbers, sizes and unsafe entries.
    Inspection facts;
};

/// Throws `InspectionError::noApp` with the archive's path, `ArchiveError::cancelledOperation`, and
/// what `Archive::reach` throws. `progress` may be null.
[[nodiscard]] PackageSurvey surveyPackage(const archive::Archive &archive,
                                          const archive::ProgressPointer &progress);

/// The items of the app that are worth reading, by their paths relative to its folder; at most
/// `maximumItems` of each kind.
struct AppItems {
    std::map<std::string, BundleKind, std::less<>> bundles;
    std::set<std::string, std::less<>> localizedFiles;
    std::set<std::string, std::less<>> libraries; ///< *.dylib
    bool hasAssetCatalogue = false;
};

/// `bundle` is the app's folder. Throws like `surveyPackage`, but for `noApp`.
[[nodiscard]] AppItems surveyApp(const archive::Archive &archive, const std::string &bundle,
                                 const archive::ProgressPointer &progress);

} // namespace vellomir
