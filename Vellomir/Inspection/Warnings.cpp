#include "Vellomir/Inspection/Warnings.h"

#include "Vellomir/Inspection/CopyNumber.h"
#include "Vellomir/Inspection/ListValues.h"
#include "Vellomir/Inspection/NestedIdentifiers.h"

#include <algorithm>

namespace vellomir {
namespace {

using Code = InspectionWarning::Code;

/// "1 language", "2 languages".
std::string counted(std::size_t count, const std::string &noun) {
    const std::string plural =
        noun.ends_with('y') ? noun.substr(0, noun.size() - 1) + "ies" : noun + "s";
    return std::to_string(count) + " " + (count == 1 ? noun : plural);
}

/// Looks at the facts one after the other.
class WarningFinder {
public:
    explicit WarningFinder(const Inspection &found)
        : found_(found), number_(found.info), copy_(found.isCopy ? "this copy" : "a copy") {}

    std::vector<InspectionWarning> find() {
        findNestedIdentifiers();
        findLocalizedNames();
        findIcons();
        findEntitlements();
        findSharedGroups();
        findReservedIdentifier();
        findEncryption();
        findSchemes();
        findSeveralApps();
        findUnsafeEntries();
        findUnreachableEntries();
        return std::move(warnings_);
    }

private:
    using Texts = std::vector<std::string>;

    void warn(Code code, const std::string &message, const std::string &option, Texts concerns) {
        warnings_.push_back({code, message, option, std::move(concerns)});
    }

    void findNestedIdentifiers() {
        for (InspectionWarning &warning : nestedIdentifierWarnings(found_))
            warnings_.push_back(std::move(warning));
    }

    [[nodiscard]] bool hidesNewName(const LocalizedName &name) const {
        const auto isOld = [this](const std::string &text) {
            return !text.empty() && !(found_.isCopy && number_.mayEnd(text));
        };
        return isOld(name.displayName) || isOld(name.name);
    }

    void findLocalizedNames() {
        Texts languages;
        for (const LocalizedName &name : found_.localizedNames)
            if (hidesNewName(name))
                addNew(languages, {name.language});
        if (languages.empty())
            return;
        const std::string subject = "In " + counted(languages.size(), "language");
        warn(Code::localizedName,
             subject + (found_.isCopy ? " this copy shows the old name."
                                      : " the app has a name of its own, which a copy shows "
                                        "instead of its new one."),
             "--localized", languages);
    }

    void findIcons() {
        if (found_.info.namesCatalogueIcon && found_.hasAssetCatalogue)
            warn(Code::assetCatalogueIcon,
                 "The asset catalogue has an icon, which goes before files: " + copy_ +
                     " shows it and not the new icon.",
                 "--icons", {"CFBundleIconName"});
        if (found_.info.hasTabletIcons)
            warn(Code::ipadIcon,
                 "The iPad has icons of its own: there, " + copy_ +
                     " shows them and not the new icon.",
                 "--icons", {"CFBundleIcons~ipad"});
    }

    void findEntitlements() {
        Texts concerns;
        for (const Program &program : found_.programs)
            for (const ProgramSlice &slice : program.slices)
                if (slice.signature)
                    addBound(concerns, slice.signature->entitlements);
        if (!concerns.empty())
            warn(Code::entitlements,
                 "Rights in the signature are bound to the identifier: " + copy_ +
                     " needs a signature of its own, and services such as push messages and iCloud "
                     "work only with rights for the new identifier.",
                 "", concerns);
    }

    static void addBound(Texts &concerns, const Entitlements &rights) {
        const std::string &identifier = rights.applicationIdentifier;
        if (!identifier.empty() && !identifier.ends_with('*'))
            addNew(concerns, {identifier});
        addNew(concerns, rights.boundKeys);
    }

    void findSharedGroups() {
        Texts groups = found_.appGroups;
        addNew(groups, found_.keychainGroups);
        if (!groups.empty())
            warn(Code::sharedGroup,
                 "The app shares files or passwords in " + counted(groups.size(), "group") + ": " +
                     copy_ +
                     ", signed with the same groups, reads and changes the original's data.",
                 "", groups);
    }

    void findReservedIdentifier() {
        if (found_.info.identifier.starts_with("com.apple."))
            warn(Code::reservedIdentifier,
                 "The identifier begins with \"com.apple.\": the phone installs " + copy_ +
                     ", but never shows it.",
                 "--identifier", {found_.info.identifier});
    }

    void findEncryption() {
        Texts paths;
        for (const Program &program : found_.programs)
            if (program.isEncrypted())
                paths.push_back(program.path);
        if (!paths.empty())
            warn(Code::encrypted,
                 counted(paths.size(), "program") + (paths.size() == 1 ? " is" : " are") +
                     " encrypted for the account that bought the app: " + copy_ +
                     " closes as soon as it is opened.",
                 "", paths);
    }

    void findSchemes() {
        const Texts &schemes = found_.info.urlSchemes;
        if (!schemes.empty())
            warn(Code::urlScheme,
                 "The app opens links of " + counted(schemes.size(), "scheme") +
                     ": with original and copy installed, either of them may open such a link.",
                 "", schemes);
    }

    void findSeveralApps() {
        if (found_.apps.size() > 1)
            warn(Code::severalApps,
                 "The package holds " + std::to_string(found_.apps.size()) +
                     " apps: only one of them is changed, " + found_.bundle + ".",
                 "", found_.apps);
    }

    void findUnsafeEntries() {
        if (found_.unsafeEntryCount == 0)
            return;
        warn(Code::unsafeEntry,
             counted(found_.unsafeEntryCount, "entry") +
                 " cannot be unpacked, and so there is no copy.",
             "", found_.unsafeEntries);
    }

    void findUnreachableEntries() {
        const auto &reach = found_.reach;
        if (reach.isComplete())
            return;
        warn(Code::unreachableEntry,
             "Only " + std::to_string(reach.reached) + " of " +
                 counted(reach.promised + reach.uncounted, "entry") +
                 " can be read: a copy lacks the others, and may not start.",
             "--allow-incomplete", {});
    }

    const Inspection &found_;
    CopyNumber number_;
    std::string copy_; ///< in the messages
    std::vector<InspectionWarning> warnings_;
};

} // namespace

const char *codeText(InspectionWarning::Code code) {
    static constexpr const char *texts[] = {
        "nested-identifier", "localized-name", "asset-catalogue-icon", "ipad-icon",
        "entitlements",      "shared-group",   "reserved-identifier",  "encrypted",
        "url-scheme",        "several-apps",   "unsafe-entry",         "unreachable-entry",
    };
    return texts[static_cast<std::size_t>(code)];
}

std::vector<InspectionWarning> inspectionWarnings(const Inspection &found) {
    return WarningFinder(found).find();
}

} // namespace vellomir
