#pragma once

#include "files/FileDescriptor.h"

#include <cstddef>
#include <functional>
#include <string>

namespace vellomir {

/// Called before each chunk, and after the last one, with the number of bytes of the chunk before;
/// 0 before the first one. An exception of it ends the copying. Not called at all where the two
/// files share their bytes.
using BeforeChunk = std::function<void(std::size_t copied)>;

/// Makes a new file, for the user only, with the bytes of a regular one. The two share the bytes
/// where the file system can do that. Throws `FileError`s with the path of the side that failed; a
/// part that was written before stays.
void copyFile(const std::string &from, const std::string &to,
              const BeforeChunk &beforeChunk = nullptr);

/// An open file and its name for errors.
struct OpenFile {
    FileDescriptor descriptor;
    std::string path;
};

/// The same of a file that is open at its start.
void copyFile(const OpenFile &from, const std::string &to,
              const BeforeChunk &beforeChunk = nullptr);

/// Gives a file the permissions and, where the system allows it, the owner of an open one. Throws a
/// write error with the path.
void copyAttributes(int from, const std::string &to);

/// Copies the bytes of a regular file, from its start, to an empty one. Throws like `copyFile`.
void copyContent(const OpenFile &source, const OpenFile &target, const BeforeChunk &beforeChunk);

} // namespace vellomir
