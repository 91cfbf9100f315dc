#include "archive/FileManager.h"

#include "archive/ArchiveUnpacker.h"
#include "archive/EntryAppender.h"
#include "archive/FileItem.h"
#include "archive/ItemListing.h"
#include "archive/UnitCount.h"

namespace archive {
namespace {

using EntryType = Entry::EntryType;
using ProgressPointer = FileManager::ProgressPointer;

void requireExisting(const URL &at) {
    static_cast<void>(FileItem(at));
}

void zipFolder(Archive &archive, const URL &at, const std::string &prefix,
               CompressionMethod compressionMethod, const ProgressPointer &progress) {
    const std::vector<std::string> paths = subpaths(at);
    if (progress) {
        UnitCount total;
        for (const std::string &path : paths)
            total += FileManager().totalUnitCountForAddingItem(at.appendingPathComponent(path));
        progress->setTotalUnitCount(total.value());
    }
    const FileItem archiveItem(archive.url());
    EntryAppender appender(archive);
    for (const std::string &path : paths) {
        const FileItem item(at.appendingPathComponent(path));
        if (item.isSameAs(archiveItem))
            continue; // the archive itself, made in the folder that it packs
        const auto part = childProgress(progress, [&] { return item.unitCount(); });
        try {
            item.add(appender, prefix + path,
                     {.compressionMethod = compressionMethod, .progress = part});
        } catch (const Error &error) {
            throw error.about(prefix + path);
        }
    }
    appender.finish();
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
    requireExisting(at);
    if (itemExists(to))
        throw Error(FileError::fileWriteFileExists, {.path = to.path()});
    const auto archive = Archive::open(to, Archive::AccessMode::create);
    const std::string name = at.lastPathComponent();
    if (typeForItem(at) == EntryType::directory)
        return zipFolder(*archive, at, shouldKeepParent ? name + '/' : std::string(),
                         compressionMethod, progress);
    archive->addEntry(name, at.deletingLastPathComponent(),
                      {.compressionMethod = compressionMethod, .progress = progress});
}

} // namespace archive
