#pragma once

#include "archive/Archive.h"
#include "archive/HeldFile.h"

#include <memory>
#include <optional>
#include <string>

namespace vellomir::cli {

/// Opens the archive for reading, or a copy of its bytes in memory, which later changes of the file
/// don't reach. Throws what `archive::Archive::open` throws, with the path: also soon after the
/// progress, here and below, was cancelled.
[[nodiscard]] std::unique_ptr<archive::Archive>
openArchive(const std::string &path, bool inMemory,
            const archive::Archive::ProgressPointer &progress,
            std::optional<archive::TextEncoding> encoding = std::nullopt);

/// Opens the archive to change it in its file, which is locked as long as the archive is open.
/// Throws what `archive::HeldFile` and `archive::Archive::open` throw, with the path, and
/// `Interrupted` while it waits for the lock.
[[nodiscard]] std::unique_ptr<archive::Archive>
openForUpdate(const std::string &path, const archive::Archive::ProgressPointer &progress);

/// Waits for a lock until the user interrupts.
[[nodiscard]] archive::LockWait interruptibleWait();

/// Throws what `archive::Archive::open` throws if the file is no archive. Called before the file is
/// copied or read into memory.
void requireArchive(const archive::HeldFile &file,
                    const archive::Archive::ProgressPointer &progress);

/// The archive as bytes in memory, to be changed there.
[[nodiscard]] std::unique_ptr<archive::Archive>
loadArchive(const archive::HeldFile &file, const archive::Archive::ProgressPointer &progress);

/// Writes the bytes of an archive in memory to a new file. Throws `FileError`s with the path.
void storeArchive(const archive::Archive &archive, const std::string &path);

/// The file itself where the name is that of a link, so that the link stays one when the file is
/// replaced.
[[nodiscard]] std::string resolvedPath(const std::string &path);

/// Replacing a file needs no permission to write it; the user may mean it to stay as it is.
void requireWritable(const FilePlace &place);

} // namespace vellomir::cli
