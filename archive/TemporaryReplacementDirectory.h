#pragma once

#include "archive/Archive.h"
#include "archive/URL.h"

#include <utility>

namespace archive {

/// A folder for the file that will replace an archive. Only its owner may look inside. Deleted with
/// the object, with everything in it.
class TemporaryReplacementDirectory {
public:
    /// Takes over a folder that exists.
    explicit TemporaryReplacementDirectory(URL url) : url_(std::move(url)) {}
    TemporaryReplacementDirectory(TemporaryReplacementDirectory &&other) noexcept
        : url_(std::exchange(other.url_, {})) {}
    TemporaryReplacementDirectory &operator=(TemporaryReplacementDirectory &&other) noexcept {
        std::swap(url_, other.url_);
        return *this;
    }
    ~TemporaryReplacementDirectory();

    [[nodiscard]] const URL &url() const { return url_; }

private:
    URL url_;
};

/// Makes such a folder beside the archive, on its volume, so that one rename does it; where that is
/// not possible, in the system's temporary folder. Throws a `FileError` if it cannot be made there
/// either.
[[nodiscard]] TemporaryReplacementDirectory temporaryReplacementDirectory(const Archive &archive);

/// Puts the file in the place of the item at the URL, in one step: whoever looks sees the one or
/// the other, whole. The new file takes over permissions and, where that is allowed, owner of the
/// old one; a link at the URL stays, and its target is replaced. Throws a `FileError`; both are as
/// they were then.
void replaceItem(const URL &at, const URL &withItemAt);

} // namespace archive
