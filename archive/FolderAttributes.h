#pragma once

#include "archive/Entry.h"

#include <array>
#include <ctime>
#include <string>

namespace vellomir::archive {

/// Access and modification time, as the system's calls take them.
[[nodiscard]] std::array<timespec, 2> times(const Date &date);

/// Throws the error of the call that returned `result`, unless it is 0 or the file system does not
/// know such attributes. `path` is for the message.
void checkAttributeCall(int result, const std::string &path);

/// Sets the mode and the times of the folder behind the descriptor, which may be an O_PATH one.
void applyToFolder(int folder, const FileAttributes &attributes, const std::string &path);

/// Sets the mode alone.
void setFolderMode(int folder, mode_t mode, const std::string &path);

} // namespace vellomir::archive
