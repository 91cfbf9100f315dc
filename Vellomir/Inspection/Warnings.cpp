#include "Vellomir/Inspection/Warnings.h"

#include "Vellomir/Inspection/CopyNumber.h"
#include "Vellomir/Inspection/ListValues.h"

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
    explicit WarningFinder(const Inspection &found) : found_(found), number_(found.info) {}

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

    /// Whether a plain copy, or this one, is not installed because of the bundle.
    [[nodiscard]] bool keepsIdentifier(const InspectedBundle &bundle) const {
        if (!needsAppIdentifier(bundle.place.kind) || found_.info.identifier.empty())
            return false;
        const std::string &own = found_.info.identifier;
        if (!found_.isCopy)
            return bundle.identifier.starts_with(own + ".") || bundle.companion == own;
        return (!bundle.identifier.empty() && number_.keepsOldIdentifier(bundle.identifier)) ||
               (!bundle.companion.empty() && bundle.companion != own);
    }

    void findNestedIdentifiers() {
        Texts concerns;
        std::string subject;
        for (const InspectedBundle &bundle : found_.nestedBundles)
            if (keepsIdentifier(bundle)) {
                concerns.push_back(bundle.place.folder + ": " + bundle.identifier);
                subject = nameOf(bundle.place.kind);
            }
        if (concerns.empty())
            return;
        const bool isOne = concerns.size() == 1;
        if (isOne)
            subject = (subject.starts_with("app") ? "An " : "A ") + subject;
        else
            subject = std::to_string(concerns.size()) + " nested bundles";
        const std::string end = isOne ? "s the old identifier: this copy won't install as it is."
                                      : " the old identifier: this copy won't install as it is.";
        warn(Code::nestedIdentifier,
             found_.isCopy ? subject + " keep" + end
                           : subject + (isOne ? " carries" : " carry") +
                                 " the app's identifier: a copy won't install as long as the old "
                                 "one is in there.",
             "--nested", concerns);
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
        const std::string copy = found_.isCopy ? "this copy" : "a copy";
        if (found_.info.namesCatalogueIcon && found_.hasAssetCatalogue)
            warn(Code::assetCatalogueIcon,
                 "The asset catalogue has an icon, which goes before files: " + copy +
                     " shows it and not the new icon.",
                 "--icons", {"CFBundleIconName"});
        if (found_.info.hasTabletIcons)
            warn(Code::ipadIcon,
                 "The iPad has icons of its own: there, " + copy +
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
                 "Rights in the signature are bound to the identifier: a copy needs a signature of "
                 "its own, and services such as push messages and iCloud work only with rights for "
                 "the new identifier.",
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
                 "The app shares files or passwords in " + counted(groups.size(), "group") +
                     ": a copy signed with the same groups reads and changes the original's data.",
                 "", groups);
    }

    void findReservedIdentifier() {
        if (found_.info.identifier.starts_with("com.apple."))
            warn(Code::reservedIdentifier,
                 "The identifier begins with \"com.apple.\": the phone installs a copy, but never "
                 "shows it.",
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
                     " encrypted for the account that bought the app: a copy closes as soon as it "
                     "is opened.",
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
        const bool isOne = found_.unsafeEntryCount == 1;
        warn(Code::unsafeEntry,
             counted(found_.unsafeEntryCount, "entry") +
                 (isOne ? " leads out of the package or below a link, or is a link without a "
                          "usable target"
                        : " lead out of the package or below a link, or are links without a usable "
                          "target") +
                 ": unpacking fails, and so there is no copy.",
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
