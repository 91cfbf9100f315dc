#include "Vellomir/Job/NestedBundles.h"

#include "Vellomir/Inspection/BundleLayout.h"

namespace vellomir {
namespace {

constexpr const char *identifierKey = "CFBundleIdentifier";

/// The folders of the bundles whose identifiers must begin with the app's, relative to its folder.
std::vector<std::string> nestedFolders(const ListEditor &editor) {
    std::vector<std::string> folders;
    const auto items = itemsBelow(editor.files(), editor.app(), [](const std::string &path) {
        const std::string folder = path.ends_with('/') ? path : path + '/';
        const auto bundle = nestedBundle(folder);
        return bundle && bundle->folder + '/' == folder && needsAppIdentifier(bundle->kind);
    });
    for (const std::string &path : items)
        if (path.ends_with('/'))
            folders.push_back(path);
        else
            editor.record().warn("Unable to change " + path + ": it is no folder");
    return folders;
}

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
        for (auto &[keyPath, text] : search.found)
            editor_.record().kept.push_back({.file = editor_.entryPath(path_),
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
    const auto folders = nestedFolders(editor);
    if (change.from.empty()) {
        if (!folders.empty())
            editor.record().warn("Unable to change the identifiers of nested bundles: the app had "
                                 "none");
        return;
    }
    IdentifierEdit(editor, change, appList).changeApp();
    for (const std::string &folder : folders)
        IdentifierEdit(editor, change, folder + "Info.plist").changeNested();
}

} // namespace vellomir
