#include "Vellomir/Job/NestedBundles.h"

#include "Vellomir/Inspection/BundleLayout.h"
#include "Vellomir/Job/PackageParts.h"

#include <algorithm>
#include <array>

namespace vellomir {
namespace {

constexpr const char *identifierKey = "CFBundleIdentifier";

/// The folders of a bundle in which the phone looks for other bundles.
constexpr std::array<std::string_view, 5> containers = {"AppClips", "Extensions", "PlugIns",
                                                        "Watch", "com.apple.WatchPlaceholder"};

/// Of one package. Lists are untrusted; the log still names those of each list.
constexpr std::size_t maximumKeptNames = 1000;

/// Far more than a phone knows; bounds the recursion and the time for hostile packages.
constexpr std::size_t maximumLevels = 16;

/// Finds the folders of the bundles whose identifiers must begin with the app's, relative to its
/// folder, each with a "/" at its end.
class NestedFolders {
public:
    explicit NestedFolders(const ListEditor &editor) : editor_(editor) {}

    [[nodiscard]] std::vector<std::string> find() {
        try {
            addBelow("", 0);
        } catch (const std::exception &) {
            editor_.record().fail("Error while looking for nested bundles: ");
        }
        return std::move(folders_);
    }

private:
    void addBelow(const std::string &bundle, std::size_t level) {
        for (const std::string &name : children(bundle))
            if (name.ends_with('/') &&
                std::find(containers.begin(), containers.end(), name.substr(0, name.size() - 1)) !=
                    containers.end())
                addBundles(bundle + name, level);
    }

    void addBundles(const std::string &container, std::size_t level) {
        for (const std::string &name : children(container)) {
            const std::string path = container + name;
            const auto bundle = nestedBundle(path.ends_with('/') ? path : path + '/');
            if (!bundle || bundle->folder.size() < container.size() ||
                !needsAppIdentifier(bundle->kind))
                continue;
            if (!path.ends_with('/')) {
                editor_.record().warn("Unable to change " + path + ": it is no folder");
            } else if (level == maximumLevels) {
                editor_.record().warn("Unable to change " + path + ": it is in too many bundles");
            } else {
                folders_.push_back(path);
                addBelow(path, level + 1);
            }
        }
    }

    /// The sorted names in a folder; those of folders end in "/".
    [[nodiscard]] std::vector<std::string> children(const std::string &path) const {
        std::vector<std::string> names;
        for (const archive::URL &item :
             editor_.files().children(editor_.app().appendingPathComponent(path)))
            names.push_back(item.lastPathComponent() + (item.hasDirectoryPath() ? "/" : ""));
        std::sort(names.begin(), names.end());
        return names;
    }

    const ListEditor &editor_;
    std::vector<std::string> folders_;
};

/// The key paths of the first few texts.
std::string listed(const IdentifierSearch &search) {
    static constexpr std::size_t limit = 5;
    std::string text;
    for (std::size_t index = 0; index < std::min(limit, search.found.size()); ++index)
        text += (index == 0 ? "" : ", ") + describeKeyPath(search.found[index].first);
    const std::size_t count = search.found.size() + search.more;
    return count <= limit ? text : text + " and " + std::to_string(count - limit) + " more";
}

/// Of one list.
class IdentifierEdit {
public:
    IdentifierEdit(const ListEditor &editor, const IdentifierChange &change, std::string path)
        : editor_(editor), change_(change), path_(std::move(path)) {}

    void changeApp() const {
        editor_.edit(path_, [&](PropertyList &list) {
            auto changes = changeBundleReferences(list.members(), change_);
            recordKeptTexts(list);
            return changes;
        });
    }

    void changeNested() const {
        editor_.edit(path_, [&](PropertyList &list) {
            auto changes = changeIdentifier(list);
            for (ValueChange &each : changeBundleReferences(list.members(), change_))
                changes.push_back(std::move(each));
            recordKeptTexts(list);
            return changes;
        });
    }

private:
    [[nodiscard]] std::vector<ValueChange> changeIdentifier(PropertyList &list) const {
        const std::string start = std::string("Unable to change ") + identifierKey + " in " + path_;
        const auto old = list.text(identifierKey);
        if (!old) {
            editor_.record().warn(start + ": it is missing, or no text");
            return {};
        }
        const auto changed = change_.nested(*old);
        if (!changed) {
            editor_.record().warn(start + ": " + *old + " does not begin with " + change_.from +
                                  '.');
            return {};
        }
        list.setText(identifierKey, *changed);
        return {{.keyPath = {identifierKey},
                 .from = PropertyListValue{*old},
                 .to = PropertyListValue{*changed}}};
    }

    void recordKeptTexts(const PropertyList &list) const {
        IdentifierSearch search = findOldIdentifier(list.members(), change_);
        if (search.found.empty())
            return;
        editor_.record().say("Old identifier kept in " + path_ + ": " + listed(search));
        std::vector<KeptText> &kept = editor_.record().kept;
        for (auto &[keyPath, text] : search.found)
            if (kept.size() < maximumKeptNames)
                kept.push_back({.file = editor_.entryPath(path_),
                                .keyPath = std::move(keyPath),
                                .text = std::move(text)});
    }

    const ListEditor &editor_;
    const IdentifierChange &change_;
    std::string path_;
};

} // namespace

void changeNestedIdentifiers(const ListEditor &editor, const std::string &appList,
                             const IdentifierChange &change) {
    if (change.from == change.to)
        return;
    const auto folders = NestedFolders(editor).find();
    if (change.from.empty()) {
        if (!folders.empty())
            editor.record().warn("Unable to change the identifiers of nested bundles: the app had "
                                 "none");
        return;
    }
    IdentifierEdit(editor, change, appList).changeApp();
    for (const std::string &folder : folders)
        IdentifierEdit(editor, change, folder + std::string(infoPlistName)).changeNested();
}

} // namespace vellomir
