#pragma once

#include <string>
#include <vector>

namespace vellomir {

/// The files that take the new icon, in the order in which they are written and listed. All hold
/// the same picture, whatever size the name promises.
inline const std::vector<std::string> iconFileNames = {
    "icon.png", "icon@2x.png", "icon@3x.png", "AppIcon76x76@2x~ipad.png", "AppIcon60x60@2x.png",
};

} // namespace vellomir
