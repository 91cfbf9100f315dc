#pragma once

#include "archive/Archive.h"
#include "archive/URL.h"
#include "archive/WorkingFolder.h"

namespace archive {

/// Makes a folder for the file that will replace an archive: beside it, on its volume, so that one
/// rename does it; where that is not possible, in the system's temporary folder if that is on the
/// same volume. Throws a `FileError` if it cannot be made there either, which names both folders.
[[nodiscard]] WorkingFolder temporaryReplacementDirectory(const Archive &archive);

/// Puts the file in the place of the item at the URL, in one step: whoever looks sees the one or
/// the other, whole. The new file takes over permissions and, where that is allowed, owner of the
/// old one; a link at the URL stays, and its target is replaced. Throws a `FileError`; both are as
/// they were then.
void replaceItem(const URL &at, const URL &withItemAt);

} // namespace archive
