#include "archive/FolderPacker.h"

#include "archive/EntryAppender.h"
#include "archive/FileItem.h"
#include "archive/UnitCount.h"
#include "files/WorkingFolder.h"

#include <fcntl.h>
#include <string_view>
#include <utility>

namespace vellomir::archive {
namespace {

/// Recognises the archive itself, which may be made in the folder that it packs, and the working
/// folder that it may be in.
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

} // namespace

FolderPacker::FolderPacker(Archive &archive, const URL &folder, std::string prefix,
                           const FileManager::ZipOptions &options,
                           const FileBatches::Limits &limits)
    : archive_(archive), source_(folder), prefix_(std::move(prefix)), options_(options),
      limits_(limits) {}

void FolderPacker::run() {
    listItems();
    EntryAppender appender(archive_);
    std::size_t packed = 0;
    if (threadCount(options_.jobs) > 1)
        packed =
            PackingWorkers::make(appender, {source_, items_, prefix_, options_}, limits_)->run();
    for (std::size_t item = packed; item < items_.size(); ++item)
        add(items_[item], appender);
    appender.finish();
}

/// All items but those of the archive that is being made.
void FolderPacker::listItems() {
    OwnItems own(archive_.url());
    UnitCount total;
    for (std::string &path : source_.subpaths()) {
        if (options_.progress)
            options_.progress->throwIfCancelled();
        const FileItem item = source_.item(path);
        if (own.include(item, path))
            continue;
        const bool isFolder = item.type() == Entry::EntryType::directory;
        items_.push_back({std::move(path), isFolder ? 0 : item.size(), isFolder});
        total += items_.back().unitCount();
    }
    if (options_.progress)
        options_.progress->setTotalUnitCount(total.value());
}

void FolderPacker::add(const PlannedItem &item, EntryAppender &appender) {
    const std::string path = prefix_ + item.path;
    const auto part = childProgress(options_.progress, [&] { return item.unitCount(); });
    try {
        source_.item(item.path).add(
            appender, path, {.compressionMethod = options_.compressionMethod, .progress = part});
    } catch (const Error &error) {
        throw error.about(path);
    }
}

} // namespace vellomir::archive
