#pragma once

#include "Vellomir/Pictures/Picture.h"
#include "tests/support/RawArchive.h"

#include <filesystem>
#include <string>
#include <vector>

namespace vellomir::test {

/// <plist> with a dictionary of this content, in XML.
[[nodiscard]] std::string plist(const std::string &content);
/// The property list of an app "Notes".
[[nodiscard]] std::string notesPlist();

/// A package with one app, "Payload/Notes.app", and more entries in front of it.
[[nodiscard]] std::string notesPackage(const std::vector<RawEntry> &more = {},
                                       const std::string &infoPlist = notesPlist());

/// One pixel.
[[nodiscard]] Picture dot();

/// The value at a key of a property list, as Python reads and prints it.
[[nodiscard]] std::string plistValue(const std::filesystem::path &file, const std::string &key);

} // namespace vellomir::test
