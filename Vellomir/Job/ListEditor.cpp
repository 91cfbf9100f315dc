#include "Vellomir/Job/ListEditor.h"

#include "Vellomir/Inspection/LocalizedNames.h"
#include "Vellomir/PropertyLists/PropertyListFile.h"

namespace vellomir {
namespace {

using archive::URL;

/// The path of an item relative to a folder above it.
std::string below(const URL &folder, const URL &item) {
    std::string path = item.path().substr(folder.path().size() + 1);
    return item.hasDirectoryPath() ? path + '/' : path;
}

std::string lineAbout(const ValueChange &change, const std::string &path) {
    const std::string key = describeKeyPath(change.keyPath);
    if (!change.to)
        return "Removed " + key + " from " + path;
    const auto *const text = std::get_if<std::string>(&change.to->content);
    return "New " + key + " in " + path + ": " + (text == nullptr ? "" : *text);
}

} // namespace

std::string ListEditor::entryPath(const std::string &path) const {
    return below(unpacked_, app_.appendingPathComponent(path));
}

void ListEditor::edit(const std::string &path, const Change &change) const {
    try {
        tryToEdit(path, change);
    } catch (const std::exception &) {
        record_.fail("Error while updating " + path + ": ");
    }
}

void ListEditor::tryToEdit(const std::string &path, const Change &change) const {
    const URL file = app_.appendingPathComponent(path);
    files_.requireItem(file);
    if (!files_.fileSize(file))
        throw Error(FileError::fileReadUnknown,
                    {.path = file.path(), .detail = "A link or a folder is not changed"});
    std::vector<ValueChange> changes;
    try {
        auto list = PropertyListFile::parse(files_.read(file, PropertyList::maximumSize), progress_,
                                            languageOfStrings(path));
        changes = change(list.list());
        if (changes.empty())
            return;
        files_.replace(file, list.data(progress_));
    } catch (const Error &error) {
        throw error.about({}, file.path());
    }
    for (ValueChange &each : changes) {
        record_.say(lineAbout(each, path));
        record_.changes.push_back({.file = entryPath(path), .value = std::move(each)});
    }
}

} // namespace vellomir
