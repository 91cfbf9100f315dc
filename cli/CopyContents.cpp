#include "cli/CopyContents.h"

#include <algorithm>
#include <string_view>

namespace vellomir::cli {
namespace {

constexpr std::string_view payload = "Payload";
constexpr std::string_view extension = ".app";

bool isInPayload(std::string_view path) {
    return path == payload ||
           (path.starts_with(payload) && path.substr(payload.size()).starts_with('/'));
}

/// "" if the path is not that of a bundle folder in "Payload" or of an item below one.
std::string_view appOf(std::string_view path) {
    path.remove_prefix(std::min(payload.size() + 1, path.size()));
    const std::size_t end = path.find('/');
    const std::string_view name = end == path.npos ? std::string_view() : path.substr(0, end);
    return name.size() > extension.size() && name.ends_with(extension) ? name : std::string_view();
}

} // namespace

CopyContents CopyContents::of(const archive::Archive &copy) {
    CopyContents contents;
    for (const archive::Entry &entry : copy) {
        const std::string path = copy.path(entry);
        contents.hasPropertyList |= path.find(".app/Info.plist") != std::string::npos;
        if (!isInPayload(path))
            continue;
        contents.hasPayload = true;
        if (const std::string_view app = appOf(path); !app.empty())
            contents.apps.emplace(app);
    }
    return contents;
}

} // namespace vellomir::cli
