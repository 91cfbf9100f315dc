#pragma once

#include "Vellomir/Inspection/BundleInfo.h"
#include "Vellomir/Inspection/BundleLayout.h"
#include "Vellomir/Inspection/LocalizedNames.h"
#include "Vellomir/Inspection/Profile.h"
#include "Vellomir/Inspection/Program.h"
#include "archive/Archive.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// An entry by its size in bytes when unpacked.
struct SizedEntry {
    std::string path;
    std::uint64_t size = 0;

    friend bool operator==(const SizedEntry &, const SizedEntry &) = default;
};

/// A bundle inside the app; its identifier is "" if it has no property list, or none that can be
/// read.
struct InspectedBundle {
    NestedBundle place; ///< relative to the app's folder
    std::string identifier;
    std::string companion; ///< of a watch app: the identifier of the app that it belongs to
    std::string watchApp;  ///< of a watch extension: the identifier of its watch app

    friend bool operator==(const InspectedBundle &, const InspectedBundle &) = default;
};

/// A part of the package that could not be read, without ending the inspection.
struct UnreadItem {
    std::string path;
    std::string reason; ///< one sentence

    friend bool operator==(const UnreadItem &, const UnreadItem &) = default;
};

/// What makes a second copy misbehave on the device, as far as it can be seen from outside: a
/// program may also check its own identifier.
struct InspectionWarning {
    enum class Code {
        nestedIdentifier,
        localizedName,
        assetCatalogueIcon,
        ipadIcon,
        entitlements,
        sharedGroup,
        reservedIdentifier,
        encrypted,
        urlScheme,
        severalApps,
        unsafeEntry,
        unreachableEntry,
    };

    Code code;
    std::string message; ///< what happens on the device; one or two sentences
    std::string option;  ///< of `duplicate`, which heals it: "--nested"; "" if none can
    std::vector<std::string> concerns; ///< identifiers, paths, languages, schemes

    friend bool operator==(const InspectionWarning &, const InspectionWarning &) = default;
};

/// "nested-identifier"
[[nodiscard]] const char *codeText(InspectionWarning::Code code);

/// What a package holds. Nothing in it is verified, and its texts come from the package: names may
/// hold any bytes, and long ones are cut off.
struct Inspection {
    std::string bundle; ///< the app's folder: "Payload/Notes.app"
    BundleInfo info;    ///< of the app
    /// Whether this is a copy that a job has made. The warnings are then about this package; else
    /// they are about a copy made of it without options.
    bool isCopy = false;
    std::vector<std::string> apps; ///< folders of apps in "Payload"; more than one is a warning

    std::uint64_t entries = 0; ///< that can be reached
    archive::Archive::Reach reach;
    std::uint64_t totalSize = 0;            ///< of all entries when unpacked, by the directory
    std::uint64_t compressedSize = 0;       ///< of all entries in the package
    std::vector<SizedEntry> largestEntries; ///< at most ten, the largest first

    std::vector<InspectedBundle> nestedBundles; ///< by their folders
    std::vector<LocalizedName> localizedNames;  ///< by their files
    std::vector<Program> programs;              ///< that of the app first, then by their paths
    std::vector<std::string> appGroups;         ///< of all programs, without duplicates
    std::vector<std::string> keychainGroups;
    std::optional<Profile> profile;
    bool hasAssetCatalogue = false;

    std::vector<std::string> unsafeEntries; ///< the first ten, with reasons: "a/b: below a link"
    std::uint64_t unsafeEntryCount = 0;
    std::vector<UnreadItem> unread;
    std::vector<InspectionWarning> warnings; ///< in the order of their codes

    /// Whether any program is encrypted.
    [[nodiscard]] bool isEncrypted() const;
    /// The app's own program; null if it could not be read.
    [[nodiscard]] const Program *mainProgram() const;
};

struct InspectOptions {
    archive::ProgressPointer progress = nullptr; ///< only for cancellation; may be null
};

/// Inspects a package from its archive. Nothing is unpacked to disk; only property lists, profiles
/// and programs are read, and these as far as needed. Memory and time are limited whatever the
/// package says. The app is the one that a job on this package changes.
///
/// Throws `InspectionError::noApp`; the error of the app's own property list if that cannot be
/// read; `ArchiveError::cancelledOperation`, `DataError::unreadableFile`. A nested list, a program
/// or a profile that cannot be read is in `unread`. It moves the archive's stream: one thread.
[[nodiscard]] Inspection inspect(const archive::Archive &archive,
                                 const InspectOptions &options = {});

} // namespace vellomir
