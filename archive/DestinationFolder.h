#pragma once

#include "archive/Entry.h"
#include "archive/FileDescriptor.h"
#include "archive/URL.h"

#include <span>
#include <string>
#include <string_view>

namespace archive {

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
/// walked one by one from its descriptor and never through a link, so that nothing lands elsewhere
/// whatever stands there already.
///
/// Paths are relative, without ".", ".." and empty components. Missing parents are made on the way,
/// once: the last one stays open. All operations throw `FileError`s with the full path.
class DestinationFolder {
public:
    /// Touches nothing yet; the folder is made with its first item.
    explicit DestinationFolder(const URL &url);

    /// A new file; `fileWriteFileExists` if anything is there.
    [[nodiscard]] DestinationFile createFile(std::string_view path);
    /// An existing folder is welcome; "" is the folder itself.
    void createDirectory(std::string_view path);
    /// A new link with this text as its target; `fileWriteFileExists` if anything is there.
    void createSymbolicLink(std::string_view path, const std::string &target,
                            const Date &modificationDate);
    void applyToDirectory(std::string_view path, const FileAttributes &attributes);

private:
    struct Item {
        int folder;
        std::string name;
    };

    [[nodiscard]] Item item(std::string_view path);
    int openParent(std::string_view parent);
    void openRoot();
    [[nodiscard]] FileDescriptor openFolder(int parent, const std::string &name,
                                            std::string_view path) const;
    [[nodiscard]] std::string fullPath(std::string_view path) const;

    std::string rootPath_;
    FileDescriptor root_;
    /// The folder that the last item went into.
    std::string parentPath_;
    FileDescriptor parent_;
};

} // namespace archive
