#include "archive/FileManager.h"

#include "archive/ArchiveUnpacker.h"
#include "archive/FileItem.h"
#include "archive/FolderPacker.h"

#include <filesystem>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

void requireExisting(const URL &at) {
    static_cast<void>(FileItem(at));
}

/// The name of the item itself: a path may end in "." or "..".
std::string ownName(const URL &at) {
    std::string name = at.lastPathComponent();
    if (name != "." && name != "..")
        return name;
    std::error_code error;
    const auto path = std::filesystem::canonical(at.path(), error);
    if (error)
        throw readError(at.path(), error.value());
    return path.filename().string();
}

} // namespace

void FileManager::unzipItem(const URL &at, const URL &to, bool skipCRC32,
                            const ProgressPointer &progress,
                            std::optional<TextEncoding> preferredEncoding) const {
    unzipItem(
        at, to,
        {.skipCRC32 = skipCRC32, .progress = progress, .preferredEncoding = preferredEncoding});
}

void FileManager::unzipItem(const URL &at, const URL &to, const UnzipOptions &options) const {
    requireExisting(at);
    ArchiveUnpacker(at, to, options).run();
}

void FileManager::zipItem(const URL &at, const URL &to, bool shouldKeepParent,
                          CompressionMethod compressionMethod,
                          const ProgressPointer &progress) const {
    zipItem(at, to,
            {.shouldKeepParent = shouldKeepParent,
             .compressionMethod = compressionMethod,
             .progress = progress});
}

void FileManager::zipItem(const URL &at, const URL &to, const ZipOptions &options) const {
    requireExisting(at);
    if (itemExists(to))
        throw Error(FileError::fileWriteFileExists, {.path = to.path()});
    const bool isFolder = typeForItem(at) == EntryType::directory;
    const std::string name = isFolder && !options.shouldKeepParent ? std::string() : ownName(at);
    const auto archive = Archive::open(to, Archive::AccessMode::create);
    if (isFolder) // the root has no name
        return FolderPacker(*archive, at, name.empty() ? name : name + '/', options).run();
    archive->addEntry(
        name, at.deletingLastPathComponent(),
        {.compressionMethod = options.compressionMethod, .progress = options.progress});
}

} // namespace vellomir::archive
