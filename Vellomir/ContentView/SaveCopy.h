#pragma once

#include "archive/Progress.h"
#include "archive/URL.h"

namespace vellomir {

/// Copies a regular file to where the user wants to have it, with its permissions where the file
/// system knows any. A file or a link that stands there is replaced in one step when the copy is
/// whole; until then, and if anything fails, it stays as it was, and nothing else is left over.
///
/// Any thread; takes as long as copying takes. `progress` may be null; it is only asked whether it
/// is cancelled, which throws `ArchiveError::cancelledOperation`. Throws a `FileError` with the
/// path of the side that failed: also if both are the same file, if the folder is missing, or if
/// something that is neither a file nor a link is in the way.
void saveCopy(const archive::URL &from, const archive::URL &to, const archive::Progress *progress);

} // namespace vellomir
