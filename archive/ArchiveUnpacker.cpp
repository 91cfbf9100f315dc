#include "archive/ArchiveUnpacker.h"

#include "archive/PathBelow.h"
#include "archive/SaturatedSum.h"

#include <cstdio>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

std::size_t index(EntryType type) {
    return static_cast<std::size_t>(type);
}

void check(CRC32 found, CRC32 expected) {
    if (found == expected)
        return;
    std::array<char, 100> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "The data is damaged: its checksum is %08x, not %08x", found,
                                    expected));
    throw Error(Archive::ArchiveError::invalidCRC32, {.detail = text.data()});
}

} // namespace

ArchiveUnpacker::ArchiveUnpacker(const URL &at, const URL &to,
                                 const FileManager::UnzipOptions &options)
    : options_(options), archive_(Archive::open(at, Archive::AccessMode::read,
                                                options.preferredEncoding, options.progress)),
      entries_(archive_->makeIterator()), destination_(to), folder_(to) {}

void ArchiveUnpacker::run() {
    readDirectory();
    if (options_.holdsToDirectory)
        folder_.requireRoom(promisedBytes_);
    if (options_.progress)
        options_.progress->setTotalUnitCount(totalUnitCount_.value());
    try {
        extractAll();
    } catch (...) {
        try {
            folder_.finishDirectories(options_.progress.get());
        } catch (const Error &) { // the first error is the one to tell
        }
        throw;
    }
    folder_.finishDirectories(options_.progress.get());
}

/// Remembers where the records are and not what they hold: records may share one local header, and
/// that may be large.
void ArchiveUnpacker::readDirectory() {
    for (;;) {
        throwIfCancelled();
        const std::uint64_t position = entries_.position_;
        const auto entry = entries_.next();
        if (!entry)
            return;
        positions_.at(index(entry->type())).push_back(position);
        count(*entry);
    }
}

void ArchiveUnpacker::count(const Entry &entry) {
    if (options_.progress)
        totalUnitCount_ += Archive::totalUnitCountForReading(entry);
    if (entry.type() != EntryType::directory)
        promisedBytes_ = saturatedSum(
            promisedBytes_, entry.centralDirectoryStructure().effectiveUncompressedSize());
}

void ArchiveUnpacker::extractAll() {
    for (const EntryType type : {EntryType::directory, EntryType::file, EntryType::symlink})
        for (const std::uint64_t position : positions_.at(index(type))) {
            throwIfCancelled();
            const Entry entry = entryAt(position, type);
            extract(entry, archive_->path(entry));
        }
}

Entry ArchiveUnpacker::entryAt(std::uint64_t position, EntryType type) {
    entries_.goTo(position);
    auto entry = entries_.next();
    if (!entry || entry->type() != type)
        throw Error(Archive::ArchiveError::unreadableArchive,
                    {.path = archive_->url().path(),
                     .detail = "The archive was changed while it was unpacked"});
    return std::move(*entry);
}

void ArchiveUnpacker::extract(const Entry &entry, const std::string &entryPath) try {
    const std::string path = pathBelow(destination_, entryPath);
    Archive::ExtractOptions options{.skipCRC32 = options_.skipCRC32};
    options.progress =
        childProgress(options_.progress, [&] { return Archive::totalUnitCountForReading(entry); });
    if (options_.holdsToDirectory)
        options.sizeLimit = entry.centralDirectoryStructure().effectiveUncompressedSize();
    const CRC32 checksum = archive_->extract(entry, path, folder_, options);
    if (!options_.skipCRC32)
        check(checksum, entry.checksum());
} catch (const Error &error) {
    throw error.about(entryPath);
}

void ArchiveUnpacker::throwIfCancelled() const {
    if (options_.progress)
        options_.progress->throwIfCancelled();
}

} // namespace vellomir::archive
