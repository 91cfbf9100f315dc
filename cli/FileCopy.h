#pragma once

#include <string>

namespace cli {

/// Makes a new file, for the user only, with the bytes of a regular one. Shares the bytes where the
/// file system can. Throws `FileError`s with the path of the side that failed, and `Interrupted`
/// between two chunks; what was written until then stays.
void copyFile(const std::string &from, const std::string &to);

/// Gives a file the permissions and, where the system allows it, the owner of another one.
void copyAttributes(const std::string &from, const std::string &to);

} // namespace cli
