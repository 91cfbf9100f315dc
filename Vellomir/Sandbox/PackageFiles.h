#pragma once

#include "archive/Data.h"
#include "archive/Progress.h"
#include "archive/TextEncoding.h"
#include "archive/URL.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// How a package is unpacked.
struct UnpackOptions {
    std::shared_ptr<archive::Progress> progress = nullptr;
    std::optional<archive::TextEncoding> nameEncoding = std::nullopt;
    /// The folder at the top of the package that will be packed again.
    std::string packedFolder;
    /// Whether the file of this path in the package may be written before that.
    std::function<bool(std::string_view path)> mayChange;
    /// How many threads inflate; 0 for one a core, at most 8.
    unsigned jobs = 1;
};

/// How a package is packed.
struct PackOptions {
    std::shared_ptr<archive::Progress> progress = nullptr;
    /// How many threads pack; 0 for one a core, at most 8.
    unsigned jobs = 1;
};

/// The entries that the end record of a package promises, and those that can be read.
struct EntryCount {
    std::uint64_t promised = 0;
    std::uint64_t read = 0;
};

/// How long the parts of a job take, in percent of the whole.
struct WorkShares {
    int copying = 10;
    int unpacking = 45;
    int packing = 45;
};

/// The files of a job: the copy of a package, what is unpacked of it, and the new package. All
/// paths are below one root folder; others are refused with `FileError::fileReadInvalidFileName`.
/// All errors are `FileError`s with the path, unless a comment says otherwise.
///
/// An object is for one job and one thread. It is a handle: constant functions change the files.
class PackageFiles {
public:
    using ProgressPointer = std::shared_ptr<archive::Progress>;

    virtual ~PackageFiles() = default;

    /// Throws if there is no such item, or only a link that dangles or leads out.
    virtual void requireItem(const archive::URL &url) const = 0;
    /// The same, and throws for a folder.
    virtual void requireFile(const archive::URL &url) const = 0;
    /// Whether a folder is there; false for a link to one.
    [[nodiscard]] virtual bool isFolder(const archive::URL &url) const = 0;
    /// The size in bytes of a regular file; nothing for anything else, also for a link to one.
    [[nodiscard]] virtual std::optional<std::uint64_t> fileSize(const archive::URL &url) const = 0;
    /// The same place without links in the folders of its path. The item need not exist.
    [[nodiscard]] virtual archive::URL withoutLinks(const archive::URL &url) const = 0;
    /// A whole file. More than `limit` bytes: `FileError::fileReadTooLarge`.
    [[nodiscard]] virtual archive::Data read(const archive::URL &url, std::size_t limit) const = 0;
    /// Replaces the content of a file in place, which keeps its mode. A missing file is made with
    /// the mode 0644.
    virtual void write(const archive::URL &url, std::span<const std::byte> content) const = 0;
    /// Replaces a regular file by another one with this content and the same mode, in one step: if
    /// it throws, the old file is as it was. The file itself need not be writable; a link is
    /// refused.
    virtual void replace(const archive::URL &url, std::span<const std::byte> content) const = 0;

    /// The folder and all missing ones above it; an existing folder is welcome.
    virtual void createFolder(const archive::URL &url) const = 0;
    /// Copies a regular file from anywhere to a new one inside, and replaces an item of that name.
    /// Removes an incomplete copy. Throws `ArchiveError::cancelledOperation` when the progress is
    /// cancelled.
    virtual void copyIn(const archive::URL &from, const archive::URL &to,
                        const ProgressPointer &progress) const = 0;
    /// Moves an item; nothing is overwritten. A link moves itself.
    virtual void move(const archive::URL &from, const archive::URL &to) const = 0;
    /// Removes an item with everything in it, also folders without write permission. Of a link only
    /// the link is removed.
    virtual void remove(const archive::URL &url) const = 0;
    /// The same; does nothing if there is no such item.
    virtual void removeIfThere(const archive::URL &url) const = 0;

    /// The direct children, in any order.
    [[nodiscard]] virtual std::vector<archive::URL> children(const archive::URL &folder) const = 0;
    /// The first item below the folder that passes the test, a folder before its content, otherwise
    /// in the order of `sortForWalk`. Links are reported and not entered; folders that
    /// cannot be read are skipped.
    [[nodiscard]] virtual std::optional<archive::URL>
    findFirst(const archive::URL &folder,
              const std::function<bool(const archive::URL &)> &test) const = 0;

    /// How long `copyIn`, `unpack` and `pack` take, as a rule.
    [[nodiscard]] virtual WorkShares shares() const = 0;
    /// Unpacks a package that `copyIn` copied into an empty folder. The sizes in the directory are
    /// limits. Throws what `FileManager::unzipItem` throws.
    virtual void unpack(const archive::URL &package, const archive::URL &folder,
                        const UnpackOptions &options) const = 0;
    /// The entries of that package, which was unpacked; zeros if it cannot be read any more.
    [[nodiscard]] virtual EntryCount countEntries(const archive::URL &package) const = 0;
    /// Packs all items in a folder, stored, into a new package. Throws what `FileManager::zipItem`
    /// throws.
    virtual void pack(const archive::URL &folder, const archive::URL &package,
                      const PackOptions &options) const = 0;

protected:
    PackageFiles() = default;
    PackageFiles(const PackageFiles &) = default;
    PackageFiles &operator=(const PackageFiles &) = default;
};

} // namespace vellomir
