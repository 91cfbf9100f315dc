#include "Vellomir/Job/IconKeys.h"

#include <algorithm>
#include <array>

namespace vellomir {
namespace {

constexpr std::string_view iconFilesKey = "CFBundleIconFiles";

/// Keys of Apple's Information Property List reference. The last one is documented below
/// "CFBundleIcons"; some packages have it at the top.
constexpr std::array<std::string_view, 5> iconKeys = {
    "CFBundleIcons", "CFBundleIconFile", iconFilesKey, "CFBundleIconName", "CFBundlePrimaryIcon"};

/// Whether the key is one for icons, as it is or for one platform or device, such as
/// "CFBundleIcons-iphoneos~ipad".
bool hidesIconFiles(std::string_view key) {
    const std::string_view base = key.substr(0, key.find_first_of("-~"));
    return key != iconFilesKey &&
           std::find(iconKeys.begin(), iconKeys.end(), base) != iconKeys.end();
}

} // namespace

std::vector<ValueChange> removeHidingIconKeys(PropertyList &list) {
    std::vector<ValueChange> changes;
    std::erase_if(list.members(), [&](PropertyListMember &member) {
        if (!hidesIconFiles(member.key))
            return false;
        changes.push_back({.keyPath = {member.key}, .from = member.value, .to = std::nullopt});
        return true;
    });
    return changes;
}

} // namespace vellomir
