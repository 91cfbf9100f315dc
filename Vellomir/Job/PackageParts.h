#pragma once

#include "archive/URL.h"

#include <functional>
#include <string_view>

namespace vellomir {

/// The folder of a package that the phone installs from: the only one that is packed again.
inline constexpr const char *payloadName = "Payload";

/// The list of a bundle, and the files with the localized values of such a list.
inline constexpr std::string_view infoPlistName = "Info.plist";
inline constexpr std::string_view stringsName = "InfoPlist.strings";
inline constexpr std::string_view tableName = "InfoPlist.loctable";

/// Whether a URL or a path is taken for that of an app's list.
[[nodiscard]] bool namesAppList(std::string_view text);

/// Whether a step may write the file of this path in the package that is unpacked into the folder.
/// True for some others as well.
[[nodiscard]] std::function<bool(std::string_view path)>
changeableFiles(const archive::URL &folder);

} // namespace vellomir
