#include "archive/EntryTransfer.h"

#include "archive/EntryAttributes.h"
#include "archive/FileWorkers.h"
#include "archive/PlacedArchive.h"
#include "archive/SaturatedSum.h"
#include "archive/UnitCount.h"
#include "files/FolderChanges.h"
#include "files/TargetFolder.h"

#include <algorithm>
#include <ctime>
#include <limits>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

/// Large pieces: fewer calls, and still many a second.
constexpr std::int64_t transferChunkSize = 1 << 17;

[[noreturn]] void refuseEntry(const std::string &path, const char *reason) {
    throw Error(ArchiveError::unreadableArchive, {.entry = path, .detail = reason});
}

void requirePlainAttributes(const ListedItem &item, bool isHeld) {
    const unsigned needed = item.isFolder ? 0700U : isHeld ? 0600U : 0400U;
    if (item.permissions > 0777U || (item.permissions & needed) != needed)
        refuseEntry(item.path, "The permissions are not plain ones");
}

/// Of a folder, extraction looks at the place of the data, and compares no checksum but 0.
void requirePlainFolder(const Entry &entry, const std::string &path) {
    constexpr auto limit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (entry.checksum() != 0 || entry.dataOffset() > limit)
        refuseEntry(path, "The folder has data");
}

Date::DateTime currentDateTime() {
    return Date{static_cast<double>(std::time(nullptr))}.fileModificationDateTime();
}

} // namespace

/// Inflates files to where they belong, on one thread.
class EntryTransfer::Worker {
public:
    /// `own` is the archive, unless the caller owns it.
    Worker(const EntryTransfer &transfer, const Archive &archive, std::unique_ptr<Archive> own)
        : transfer_(transfer), own_(std::move(own)), archive_(archive),
          entries_(archive.makeIterator()), writer_(*transfer.target_) {}

    void transfer(const File &file) {
        requireNotCancelled(transfer_.options_.progress);
        ListedItem &item = *file.item;
        const auto entry = entryAt(file.position);
        const bool isWritten = !item.content && transfer_.isInFolder(item.path);
        if (item.content)
            item.content->reserve(static_cast<std::size_t>(item.size));
        if (isWritten)
            writer_.begin(item);
        std::uint64_t received = 0;
        const auto take = [&](std::span<const std::byte> chunk) {
            received += chunk.size();
            if (item.content)
                item.content->append(chunk);
            else if (isWritten)
                writer_.write(chunk);
        };
        const CRC32 checksum = archive_.extract(
            entry, take,
            {.bufferSize = transferChunkSize,
             .progress = childProgress(transfer_.options_.progress,
                                       [&] { return Archive::totalUnitCountForReading(entry); }),
             .sizeLimit = item.size});
        if (received != item.size || checksum != item.checksum)
            refuseEntry(item.path, "The data is not what the directory says");
    }

    void finish() { writer_.flush(); }

private:
    [[nodiscard]] Entry entryAt(std::uint64_t position) {
        entries_.goTo(position);
        auto entry = entries_.next();
        if (!entry || entry->type() != EntryType::file)
            refuseEntry({}, "The archive was changed while it was read");
        return std::move(*entry);
    }

    const EntryTransfer &transfer_;
    std::unique_ptr<Archive> own_;
    const Archive &archive_;
    Archive::EntryIterator entries_;
    PlacedArchive::Writer writer_;
};

EntryTransfer::EntryTransfer(Archive::FilePointer archive, const std::string &newPath,
                             Options options)
    : options_(std::move(options)) {
    const auto old = Archive::open(std::move(archive), {}, Archive::AccessMode::read,
                                   options_.preferredEncoding, options_.progress);
    readDirectory(*old);
    list_.finish(currentDateTime());
    requireFreeRoom(folderOf(newPath), promisedBytes_);
    target_ = std::make_unique<PlacedArchive>(newPath);
    transfer(*old, files());
}

EntryTransfer::~EntryTransfer() = default;

void EntryTransfer::readDirectory(const Archive &archive) {
    UnitCount total;
    std::int64_t folders = 0;
    auto entries = archive.makeIterator();
    for (;;) {
        requireNotCancelled(options_.progress);
        const std::uint64_t position = entries.position_;
        const auto entry = entries.next();
        if (!entry)
            break;
        ListedItem item = listed(*entry, archive.path(*entry));
        ++count_.read;
        item.offset = position; // until the file gets its place
        total += Archive::totalUnitCountForReading(*entry);
        folders += item.isFolder ? 1 : 0;
        list_.add(std::move(item));
    }
    count_.promised = entries.end() == EntryIterator::End::complete
                          ? count_.read
                          : archive.totalNumberOfEntriesInCentralDirectory();
    if (!options_.progress)
        return;
    options_.progress->setTotalUnitCount(total.value());
    options_.progress->addCompletedUnitCount(folders);
}

ListedItem EntryTransfer::listed(const Entry &entry, std::string path) {
    const FileAttributes attributes = attributesOf(entry);
    if (path.ends_with('/'))
        path.pop_back();
    ListedItem item{.path = std::move(path),
                    .isFolder = entry.type() == EntryType::directory,
                    .permissions = attributes.posixPermissions,
                    .modificationDateTime = attributes.modificationDate.fileModificationDateTime(),
                    .checksum = entry.checksum()};
    if (entry.type() == EntryType::symlink)
        refuseEntry(item.path, "The entry is a link");
    if (!item.isFolder && item.path == options_.folder)
        refuseEntry(item.path, "The folder to be packed is a file");
    if (item.path.size() > options_.longestPath)
        refuseEntry(item.path, "The path is too long");
    if (item.isFolder)
        requirePlainFolder(entry, item.path);
    else
        item.size = entry.centralDirectoryStructure().effectiveUncompressedSize();
    const bool isHeld = !item.isFolder && options_.isHeld(item.path);
    requirePlainAttributes(item, isHeld);
    promisedBytes_ = saturatedSum(promisedBytes_, item.size);
    listBytes_ += sizeof(ListedItem) + item.path.capacity();
    if (isHeld) {
        if (item.size > heldLimit - heldBytes_)
            refuseEntry(item.path, "The files to be held are too large");
        heldBytes_ += item.size;
        item.content = std::make_unique<Data>();
    }
    if (listBytes_ > listLimit)
        refuseEntry(item.path, "There are too many entries");
    return item;
}

/// In the order of the directory, which is that of the data as a rule.
std::vector<EntryTransfer::File> EntryTransfer::files() {
    std::vector<File> files;
    for (ListedItem &item : list_.items())
        if (!item.isFolder)
            files.push_back({item.offset, &item});
    std::sort(files.begin(), files.end(),
              [](const File &left, const File &right) { return left.position < right.position; });
    return files;
}

void EntryTransfer::transfer(const Archive &archive, std::span<const File> files) {
    FileBatches batches({});
    for (const File &file : files) {
        if (!file.item->content && isInFolder(file.item->path))
            target_->reserve(*file.item);
        batches.add(file.item->size);
    }
    const auto all = workers(archive, batches.count());
    const OrderedOutcome outcome =
        runInOrder({.count = batches.count(),
                    .workers = static_cast<unsigned>(all.size()),
                    .window = batches.count()},
                   [&](const OrderedItem &item) {
                       const std::size_t end = batches.start(item.number() + 1);
                       for (std::size_t file = batches.start(item.number()); file < end; ++file)
                           if (item.isWanted())
                               all[item.worker()]->transfer(files[file]);
                   });
    if (outcome.failure)
        std::rethrow_exception(outcome.failure);
    for (const auto &worker : all)
        worker->finish();
}

/// At least one.
std::vector<std::unique_ptr<EntryTransfer::Worker>> EntryTransfer::workers(const Archive &archive,
                                                                           std::size_t most) const {
    std::vector<std::unique_ptr<Worker>> all;
    all.push_back(std::make_unique<Worker>(*this, archive, nullptr));
    const std::size_t count = std::min<std::size_t>(threadCount(options_.jobs), most);
    while (all.size() < count) {
        auto own = archive.openForAnotherThread();
        if (!own)
            break;
        const Archive &another = *own;
        all.push_back(std::make_unique<Worker>(*this, another, std::move(own)));
    }
    return all;
}

bool EntryTransfer::isInFolder(std::string_view path) const {
    return path.starts_with(options_.folder) &&
           (path.size() == options_.folder.size() || path[options_.folder.size()] == '/');
}

/// The items of the folder are in one piece in the order of a walk.
void EntryTransfer::finish(const std::string &path, const ProgressPointer &progress) {
    const std::span<ListedItem> all = list_.items();
    const auto isInside = [this](const ListedItem &item) { return isInFolder(item.path); };
    const auto first = std::find_if(all.begin(), all.end(), isInside);
    const auto last = std::find_if_not(first, all.end(), isInside);
    target_->finish(std::span(first, last), path, progress);
}

} // namespace vellomir::archive
