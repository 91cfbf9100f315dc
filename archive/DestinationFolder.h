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

/// Learns what is made in a `DestinationFolder`, on the thread that makes it.
class DestinationObserver {
public:
    DestinationObserver() = default;
    DestinationObserver(const DestinationObserver &) = delete;
    DestinationObserver &operator=(const DestinationObserver &) = delete;
    virtual ~DestinationObserver() = default;

    /// A file was made, and nothing has been written to it.
    virtual void madeFile() = 0;
    /// A folder was made for an item below it: after the one above it, if that was made as well.
    virtual void madeFolder(std::string_view path) = 0;
    /// Before each piece of a file's data. What this throws ends the extraction.
    virtual void willWrite() = 0;
};

/// A file that is being extracted.
class DestinationFile {
public:
    /// The observer may be null.
    DestinationFile(FileDescriptor descriptor, std::string path, DestinationObserver *observer)
        : descriptor_(std::move(descriptor)), path_(std::move(path)), observer_(observer) {}

    /// Throws `DataError::unwritableFile`.
    void write(std::span<const std::byte> chunk);
    /// Applies the attributes and closes; throws if the system could not keep the data.
    void finish(const FileAttributes &attributes);

private:
    FileDescriptor descriptor_;
    std::string path_;
    DestinationObserver *observer_;
};

/// The folder that an archive is unpacked into. Everything is made below it, by names that are
/// walked from its descriptor and never through a link, so that nothing lands elsewhere whatever
/// is there already or is put there meanwhile.
///
/// Paths are relative, without ".", ".." and empty components. Missing parents are made on the way.
/// All operations throw `FileError`s with the full path. One thread at a time; `forAnotherThread`
/// makes one for each of the others.
class DestinationFolder {
public:
    /// Touches nothing yet; the folder is made with its first item.
    explicit DestinationFolder(const URL &url);

    /// The same folder, which must be open, for files made on another thread. Its attributes and
    /// those of the folders in it are left to this one.
    [[nodiscard]] DestinationFolder forAnotherThread() const;
    /// Whether the folder itself has been made, or found, and opened.
    [[nodiscard]] bool isOpen() const { return root_.isOpen(); }

    /// Null for none. It must outlive the files that are made meanwhile.
    void setObserver(DestinationObserver *observer) { observer_ = observer; }

    /// Throws `fileWriteOutOfSpace` if the file system of the folder has less room than this. Makes
    /// nothing.
    void requireRoom(std::uint64_t bytes) const;

    /// Makes the folder and those above it, where they are missing.
    void make() { openRoot(); }

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

    /// Removes a file that was made here. Does nothing if there is none, or something else.
    void removeFile(std::string_view path);
    /// Removes a folder if it is empty. False if it is still there.
    [[nodiscard]] bool removeEmptyFolder(std::string_view path);
    /// Closes the folders of the last items, which may have been removed.
    void forgetParents();

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
    DestinationObserver *observer_ = nullptr;
};

} // namespace vellomir::archive
