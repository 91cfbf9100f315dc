#include "Vellomir/Job/LocalizedFiles.h"

#include "Vellomir/Job/PackageParts.h"

#include <algorithm>

namespace vellomir {
namespace {

using archive::URL;

/// Adds the paths of the folder's items of this name; there is at most one. `path` is the folder's,
/// and empty or with a "/" at its end.
void addFile(const ListEditor &editor, const std::string &path, std::string_view name,
             std::vector<std::string> &paths) {
    for (const URL &item : editor.files().children(editor.app().appendingPathComponent(path)))
        if (item.lastPathComponent() == name)
            paths.push_back(path + std::string(name));
}

/// Links to folders are left out: the folder itself is in the list if it is one of the app.
std::vector<std::string> localizedFiles(const ListEditor &editor) {
    std::vector<std::string> paths;
    try {
        for (const URL &item : editor.files().children(editor.app()))
            if (item.hasDirectoryPath() && item.pathExtension() == "lproj")
                addFile(editor, item.lastPathComponent() + '/', stringsName, paths);
        addFile(editor, "", tableName, paths);
    } catch (const std::exception &) {
        editor.record().fail("Error while looking for localized names: ");
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

} // namespace

void changeLocalizedNames(const ListEditor &editor, const NameChange &newName) {
    for (const std::string &path : localizedFiles(editor))
        editor.edit(path, [&](PropertyList &list) {
            auto [changes, unusable] = path == tableName
                                           ? changeNamesOfLanguages(list.members(), newName)
                                           : changeNames(list.members(), newName);
            for (const KeyPath &each : unusable)
                editor.record().warn("Unable to change " + describeKeyPath(each) + " in " + path +
                                     ": it is no text");
            return std::move(changes);
        });
}

} // namespace vellomir
