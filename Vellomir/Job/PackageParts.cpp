#include "Vellomir/Job/PackageParts.h"

#include "Vellomir/Inspection/IconFiles.h"

#include <algorithm>

namespace vellomir {
namespace {

bool isIconFile(std::string_view folder, std::string_view name) {
    return folder.ends_with(".app") &&
           std::find(iconFileNames.begin(), iconFileNames.end(), name) != iconFileNames.end();
}

} // namespace

bool namesAppList(std::string_view text) {
    return text.find(".app/Info.plist") != text.npos;
}

std::function<bool(std::string_view path)> changeableFiles(const archive::URL &folder) {
    // The search for the list looks at the whole URL, so any file may be the first one.
    const bool isAny = namesAppList(folder.absoluteString());
    return [isAny](std::string_view path) {
        const std::size_t slash = std::min(path.rfind('/'), path.size());
        const std::string_view name = path.substr(slash == path.size() ? 0 : slash + 1);
        return isAny || namesAppList(path) || name == infoPlistName || name == stringsName ||
               name == tableName || isIconFile(path.substr(0, slash), name);
    };
}

} // namespace vellomir
