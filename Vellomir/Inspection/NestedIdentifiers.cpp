#include "Vellomir/Inspection/NestedIdentifiers.h"

#include "Vellomir/Inspection/CopyNumber.h"

#include <algorithm>

namespace vellomir {
namespace {

/// How an identifier in a nested bundle fits the app's.
enum class Fit {
    good,
    old,     ///< that of the app, which a copy no longer has, or the one that a copy had before
    foreign, ///< neither
};

/// Identifiers that a phone does not accept.
struct Misfits {
    std::vector<std::string> concerns;
    std::string kind; ///< of the last bundle
    std::size_t bundles = 0;

    void add(const InspectedBundle &bundle, const std::vector<std::string> &identifiers) {
        if (identifiers.empty())
            return;
        ++bundles;
        kind = nameOf(bundle.place.kind);
        for (const std::string &each : identifiers)
            concerns.push_back(bundle.place.folder + ": " + each);
    }
};

class NestedIdentifiers {
public:
    explicit NestedIdentifiers(const Inspection &found) : found_(found), number_(found.info) {}

    std::vector<InspectionWarning> warnings() {
        if (!found_.info.identifier.empty())
            for (const InspectedBundle &bundle : found_.nestedBundles)
                if (needsAppIdentifier(bundle.place.kind))
                    look(bundle);
        std::vector<InspectionWarning> warnings;
        if (old_.bundles > 0)
            warnings.push_back(
                {InspectionWarning::Code::nestedIdentifier, oldText(), "--nested", old_.concerns});
        if (foreign_.bundles > 0)
            warnings.push_back(
                {InspectionWarning::Code::nestedIdentifier, foreignText(), "", foreign_.concerns});
        return warnings;
    }

private:
    /// Of an identifier that must begin with the app's and a dot.
    [[nodiscard]] Fit fitOf(const std::string &identifier) const {
        if (identifier.empty())
            return Fit::good;
        if (identifier.starts_with(found_.info.identifier + "."))
            return found_.isCopy ? Fit::good : Fit::old;
        return found_.isCopy && number_.keepsOldIdentifier(identifier) ? Fit::old : Fit::foreign;
    }

    /// Of the name of the app, which a watch app has.
    [[nodiscard]] Fit fitOfCompanion(const std::string &companion) const {
        if (companion.empty())
            return Fit::good;
        if (companion == found_.info.identifier)
            return found_.isCopy ? Fit::good : Fit::old;
        return found_.isCopy && number_.keepsOldIdentifier(companion + ".") ? Fit::old
                                                                            : Fit::foreign;
    }

    /// Of the name of the watch app, which an extension inside of it has.
    [[nodiscard]] Fit fitOfWatchApp(const InspectedBundle &bundle) const {
        const auto isAround = [&](const InspectedBundle &each) {
            return each.place.kind == BundleKind::watchApp &&
                   pathBelowFolder(bundle.place.folder, each.place.folder);
        };
        const auto around =
            std::find_if(found_.nestedBundles.begin(), found_.nestedBundles.end(), isAround);
        if (bundle.watchApp.empty() || around == found_.nestedBundles.end())
            return Fit::good;
        const Fit fit = fitOf(bundle.watchApp);
        const bool isName = bundle.watchApp == around->identifier || around->identifier.empty();
        return fit == Fit::good && !isName ? Fit::foreign : fit;
    }

    void look(const InspectedBundle &bundle) {
        std::vector<std::string> old;
        std::vector<std::string> foreign;
        const auto add = [&](Fit fit, const std::string &text) {
            if (fit != Fit::good)
                (fit == Fit::old ? old : foreign).push_back(text);
        };
        const Fit own = fitOf(bundle.identifier);
        add(own, bundle.identifier);
        // What is wrong in the same way as the identifier is healed with it, and not worth a line.
        if (const Fit fit = fitOfCompanion(bundle.companion);
            fit != own && bundle.place.kind == BundleKind::watchApp)
            add(fit, "belongs to " + bundle.companion);
        if (const Fit fit = fitOfWatchApp(bundle);
            fit != own && bundle.place.kind == BundleKind::watchExtension)
            add(fit, "belongs to " + bundle.watchApp);
        old_.add(bundle, old);
        foreign_.add(bundle, foreign);
    }

    /// "An app extension", "2 nested bundles".
    static std::string subjectOf(const Misfits &misfits) {
        if (misfits.bundles > 1)
            return std::to_string(misfits.bundles) + " nested bundles";
        return (misfits.kind.starts_with("app") ? "An " : "A ") + misfits.kind;
    }

    [[nodiscard]] std::string oldText() const {
        const std::string s = old_.bundles == 1 ? "s" : "";
        if (found_.isCopy)
            return subjectOf(old_) + " keep" + s +
                   " the old identifier: this copy won't install as it is.";
        return subjectOf(old_) + (old_.bundles == 1 ? " carries" : " carry") +
               " the app's identifier: a copy won't install as long as the old one is in there.";
    }

    [[nodiscard]] std::string foreignText() const {
        const bool isOne = foreign_.bundles == 1;
        return subjectOf(foreign_) + (isOne ? " has an identifier" : " have identifiers") +
               " of another app: " +
               (found_.isCopy ? "this copy won't install as it is."
                              : "neither the app nor a copy of it installs as it is.");
    }

    const Inspection &found_;
    CopyNumber number_;
    Misfits old_;
    Misfits foreign_;
};

} // namespace

std::vector<InspectionWarning> nestedIdentifierWarnings(const Inspection &found) {
    return NestedIdentifiers(found).warnings();
}

} // namespace vellomir
