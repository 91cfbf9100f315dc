#pragma once

#include <string>
#include <vector>

namespace vellomir {

/// The files that take the new icon of a copy, in the order in which they are written and listed.
/// All hold the same picture, whatever size the name promises, unless the job has to change icons
/// deeply. Every copy lists them, and so they also mark a package as a copy.
inline const std::vector<std::string> iconFileNames = {
    "icon.png", "icon@2x.png", "icon@3x.png", "AppIcon76x76@2x~ipad.png", "AppIcon60x60@2x.png",
};

} // namespace vellomir
