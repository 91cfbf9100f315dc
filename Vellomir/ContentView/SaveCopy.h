#pragma once

#include "archive/Progress.h"
#include "archive/URL.h"

namespace vellomir {

/// Copies a regular file to a place of the user's choice, with its permissions if the file system
/// has any. An existing file or link is replaced in one step when the copy is
/// whole; until then, and if anything fails, it is unchanged, and nothing else is left behind.
///
/// Any thread; takes as long as copying takes. `progress` may be null; it is only asked whether it
/// is cancelled, which throws `ArchiveError::cancelledOperation`. Throws a `FileError` with the
/// path of the side that failed: also if both are the same file, if the folder is missing, or if
/// something that is neither a file nor a link is in the way.
void saveCopy(const archive::URL &from, const archive::URL &to, const archive::Progress *progress);

} // namespace vellomir
