#pragma once

#include "archive/Entry.h"
#include "archive/Progress.h"
#include "archive/URL.h"
#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir::archive {

/// A file that is being extracted.
class DestinationFile {
public:
    DestinationFile(FileDescriptor descriptor, std::string path)
        : descriptor_(std::move(descriptor)), path_(std::move(path)) {}

    /// Throws `DataError::unwritableFile`.
    void write(std::span<const std::byte> chunk);
    /// Applies the attributes and closes; throws if the system could not keep the data.
    void finish(const FileAttributes &attributes);

private:
    FileDescriptor descriptor_;
    std::string path_;
};

/// The folder that an archive is unpacked into. Everything is made below it, by names that are
/// walked from its descriptor and never through a link, so that nothing lands elsewhere whatever
/// is there already or is put there meanwhile.
///
/// Paths are relative, without ".", ".." and empty components. Missing parents are made on the way.
/// All operations throw `FileError`s with the full path.
class DestinationFolder {
public:
    /// Touches nothing yet; the folder is made with its first item.
    explicit DestinationFolder(const URL &url);

    /// Throws `fileWriteOutOfSpace` if the file system of the folder has less room than this. Makes
    /// nothing.
    void requireRoom(std::uint64_t bytes) const;

    /// A new file. Throws `fileWriteFileExists` if anything is there, `fileNoSuchFile` with the
    /// system's reason if it cannot be opened.
    [[nodiscard]] DestinationFile createFile(std::string_view path);

    /// A new folder, for the owner only until `finishDirectories`, or an existing one; "" is the
    /// folder itself.
    void createDirectory(std::string_view path, const FileAttributes &attributes);

    /// A new link with this text as its target; `fileWriteFileExists` if anything is there.
    void createSymbolicLink(std::string_view path, const std::string &target,
                            const Date &modificationDate);
    /// Throws `fileWriteFileExists` if anything is there. Makes nothing.
    void requireNothing(std::string_view path);

    /// Applies the attributes of all folders, from the inside out: a folder may become read-only,
    /// and its date is that of its last change. Goes on behind an error and throws the first one at
    /// the end. A folder that another one, or a link, has replaced since `createDirectory` is left
    /// alone, which is such an error.
    ///
    /// Once the progress, which may be null, is cancelled, 10,000 more folders are finished, which
    /// takes less than half a second; `cancelledOperation` if there are more.
    void finishDirectories(const Progress *progress);

    /// For messages.
    [[nodiscard]] std::string fullPath(std::string_view path) const;

private:
    enum class MissingFolders { make, refuse };

    struct Item {
        int folder; ///< −1 if it is missing
        std::string name;

        [[nodiscard]] ItemName itemName() const { return {folder, name}; }
    };

    /// One that gets its attributes at the end.
    struct Directory {
        std::string path;
        FileAttributes attributes;
        ItemIdentity identity;
    };

    [[nodiscard]] Item item(std::string_view path, MissingFolders missingFolders);
    [[nodiscard]] bool isTooLong(std::string_view path) const;
    int openParent(std::string_view parent, MissingFolders missingFolders);
    [[nodiscard]] FileDescriptor makeParent(std::string_view parent) const;
    void openRoot();
    [[nodiscard]] FileDescriptor openFolder(int parent, const std::string &name,
                                            std::string_view path) const;
    void finish(const Directory &directory);

    /// A folder that an item went into.
    struct Parent {
        std::string path;
        FileDescriptor folder;
    };

    std::string rootPath_;
    FileDescriptor root_;
    /// The last ones, so that archives may go to and fro between folders.
    std::array<Parent, 16> parents_;
    std::size_t nextParent_ = 0;
    std::vector<Directory> directories_;
};

} // namespace vellomir::archive
