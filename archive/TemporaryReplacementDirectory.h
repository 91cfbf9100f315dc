#pragma once

#include "archive/URL.h"

namespace archive {

/// A folder for the file that will replace an archive: beside it, on its volume, so that one rename
/// does it. Only its owner may look inside. Deleted with the object, with everything in it.
class TemporaryReplacementDirectory {
public:
    /// Where no folder can be made beside the archive, it is made in the system's temporary folder.
    /// Throws a `FileError` if it cannot be made there either.
    explicit TemporaryReplacementDirectory(const URL &archive);
    ~TemporaryReplacementDirectory();
    TemporaryReplacementDirectory(const TemporaryReplacementDirectory &) = delete;
    TemporaryReplacementDirectory &operator=(const TemporaryReplacementDirectory &) = delete;

    [[nodiscard]] const URL &url() const { return url_; }

private:
    URL url_;
};

/// Puts the file in the place of the item at the URL, in one step: whoever looks sees the one or
/// the other, whole. The new file takes over permissions and, where that is allowed, owner of the
/// old one; a link at the URL stays, and its target is replaced. Throws a `FileError`; both are as
/// they were then.
void replaceItem(const URL &at, const URL &withItemAt);

} // namespace archive
