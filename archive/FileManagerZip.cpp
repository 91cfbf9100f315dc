#include "archive/FileManager.h"

#include "archive/ArchiveUnpacker.h"
#include "archive/EntryAppender.h"
#include "archive/FileItem.h"
#include "archive/SourceFolder.h"
#include "archive/UnitCount.h"
#include "files/WorkingFolder.h"

#include <fcntl.h>
#include <filesystem>
#include <string_view>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;
using ProgressPointer = FileManager::ProgressPointer;

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

/// An item that will be added.
struct PlannedItem {
    std::string path;
    std::int64_t unitCount;
};

/// Tells the archive itself, which may be made in the folder that it packs, and the working folder
/// that it may be in.
class OwnItems {
public:
    explicit OwnItems(const URL &archive)
        : archive_(archive), folder_(behindLinks(archive.deletingLastPathComponent().path())) {}

    /// To be asked for all items in the order of the listing: a folder before its content.
    bool include(const FileItem &item, const std::string &path) {
        if (!skipped_.empty() && path.starts_with(skipped_))
            return true;
        const std::string_view name = std::string_view(path).substr(path.rfind('/') + 1);
        if (!WorkingFolder::isName(name) || !item.isSameAs(folder_))
            return item.isSameAs(archive_);
        skipped_ = path + '/';
        return true;
    }

private:
    static FileItem behindLinks(const std::string &folder) {
        return {AT_FDCWD, folder + "/.", folder};
    }

    FileItem archive_;
    FileItem folder_;
    std::string skipped_;
};

/// All items but those of the archive that is being made.
std::vector<PlannedItem> plan(SourceFolder &source, const Archive &archive,
                              const ProgressPointer &progress) {
    OwnItems own(archive.url());
    std::vector<PlannedItem> items;
    UnitCount total;
    for (std::string &path : source.subpaths()) {
        if (progress)
            progress->throwIfCancelled();
        const FileItem item = source.item(path);
        if (own.include(item, path))
            continue;
        items.push_back({std::move(path), item.unitCount()});
        total += items.back().unitCount;
    }
    if (progress)
        progress->setTotalUnitCount(total.value());
    return items;
}

void zipFolder(Archive &archive, const URL &at, const std::string &prefix,
               CompressionMethod compressionMethod, const ProgressPointer &progress) {
    SourceFolder source(at);
    const std::vector<PlannedItem> items = plan(source, archive, progress);
    EntryAppender appender(archive);
    for (const PlannedItem &each : items) {
        const auto part = childProgress(progress, [&] { return each.unitCount; });
        try {
            source.item(each.path).add(appender, prefix + each.path,
                                       {.compressionMethod = compressionMethod, .progress = part});
        } catch (const Error &error) {
            throw error.about(prefix + each.path);
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
    const bool isFolder = typeForItem(at) == EntryType::directory;
    const std::string name = isFolder && !shouldKeepParent ? std::string() : ownName(at);
    const auto archive = Archive::open(to, Archive::AccessMode::create);
    if (isFolder) // the root has no name
        return zipFolder(*archive, at, name.empty() ? name : name + '/', compressionMethod,
                         progress);
    archive->addEntry(name, at.deletingLastPathComponent(),
                      {.compressionMethod = compressionMethod, .progress = progress});
}

} // namespace vellomir::archive
