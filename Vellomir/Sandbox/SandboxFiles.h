#pragma once

#include "archive/Data.h"
#include "archive/Progress.h"
#include "archive/URL.h"
#include "files/FileDescriptor.h"
#include "files/FolderItems.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// Access to files below one root folder only. Each path is walked name by name from the root.
/// Links are followed only if they stay below it; other paths are refused with
/// `FileError::fileReadInvalidFileName`. All errors are `FileError`s with the path.
///
/// For any thread. Trees may have any depth.
class SandboxFiles {
public:
    using ProgressPointer = std::shared_ptr<archive::Progress>;

    /// The root must exist and be no link; links in its path must lead to it always. `list` lists
    /// the folders of a search.
    explicit SandboxFiles(archive::URL root, ListFolder list = folderItems);

    /// Throws if there is no such item, or only a link that dangles or leads out.
    void requireItem(const archive::URL &url) const;
    /// The same, and throws for a folder.
    void requireFile(const archive::URL &url) const;
    /// Whether a folder is there; false for a link to one.
    [[nodiscard]] bool isFolder(const archive::URL &url) const;
    /// The size in bytes of a regular file; nothing for anything else, also for a link to one.
    [[nodiscard]] std::optional<std::uint64_t> fileSize(const archive::URL &url) const;
    /// The same place without links in the folders of its path. The item need not exist.
    [[nodiscard]] archive::URL withoutLinks(const archive::URL &url) const;
    /// A whole file. More than `limit` bytes: `FileError::fileReadTooLarge`.
    [[nodiscard]] archive::Data read(const archive::URL &url, std::size_t limit) const;
    /// Replaces the content of a file in place, which keeps its mode. A missing file is made with
    /// the mode 0644.
    void write(const archive::URL &url, std::span<const std::byte> content) const;
    /// Replaces a regular file by another one with this content and the same mode, in one step: if
    /// it throws, the old file is as it was. The file itself need not be writable; a link is
    /// refused.
    void replace(const archive::URL &url, std::span<const std::byte> content) const;

    /// The folder and all missing ones above it; an existing folder is welcome.
    void createFolder(const archive::URL &url) const;
    /// Copies a regular file from anywhere to a new one inside, and replaces an item of that name.
    /// Removes an incomplete copy. Throws `ArchiveError::cancelledOperation` when the progress is
    /// cancelled.
    void copyIn(const archive::URL &from, const archive::URL &to,
                const ProgressPointer &progress) const;
    /// Moves an item; nothing is overwritten. A link moves itself.
    void move(const archive::URL &from, const archive::URL &to) const;
    /// Removes an item with everything in it, also folders without write permission. Of a link only
    /// the link is removed.
    void remove(const archive::URL &url) const;
    /// The same; does nothing if there is no such item.
    void removeIfThere(const archive::URL &url) const;

    /// The direct children, in the order of the file system.
    [[nodiscard]] std::vector<archive::URL> children(const archive::URL &folder) const;
    /// The first item below the folder that passes the test, a folder before its content, otherwise
    /// in the order of `sortForWalk`. Links are reported and not entered; folders that
    /// cannot be read are skipped.
    [[nodiscard]] std::optional<archive::URL>
    findFirst(const archive::URL &folder,
              const std::function<bool(const archive::URL &)> &test) const;

private:
    archive::URL root_;
    ListFolder list_;
};

} // namespace vellomir
