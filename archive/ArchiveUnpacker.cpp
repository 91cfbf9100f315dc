#include "archive/ArchiveUnpacker.h"

#include "archive/SaturatedSum.h"

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

std::size_t index(EntryType type) {
    return static_cast<std::size_t>(type);
}

FileManager::UnzipOptions withJobs(FileManager::UnzipOptions options) {
    options.jobs = threadCount(options.jobs);
    return options;
}

} // namespace

ArchiveUnpacker::ArchiveUnpacker(const URL &at, const URL &to,
                                 const FileManager::UnzipOptions &options,
                                 const FileBatches::Limits &limits)
    : options_(withJobs(options)),
      archive_(Archive::open(at, Archive::AccessMode::read, options.preferredEncoding,
                             options.progress)),
      destination_(to), folder_(to), writer_(*archive_, folder_, destination_, options_),
      batches_(limits) {}

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
        } catch (const Error &) { // the caller gets the first error
        }
        throw;
    }
    folder_.finishDirectories(options_.progress.get());
}

/// Remembers where the records are and not what they hold: records may share one local header, and
/// that may be large.
void ArchiveUnpacker::readDirectory() {
    EntryIterator entries = archive_->makeIterator();
    for (;;) {
        throwIfCancelled();
        const std::uint64_t position = entries.position_;
        const auto entry = entries.next();
        if (!entry)
            return;
        positions_.at(index(entry->type())).push_back(position);
        count(*entry);
    }
}

void ArchiveUnpacker::count(const Entry &entry) {
    const std::uint64_t size = entry.centralDirectoryStructure().effectiveUncompressedSize();
    if (options_.progress)
        totalUnitCount_ += Archive::totalUnitCountForReading(entry);
    if (entry.type() != EntryType::directory)
        promisedBytes_ = saturatedSum(promisedBytes_, size);
    if (entry.type() == EntryType::file && options_.jobs > 1)
        batches_.add(size);
}

void ArchiveUnpacker::extractAll() {
    extract(EntryType::directory);
    extractFiles();
    extract(EntryType::symlink);
}

void ArchiveUnpacker::extractFiles() {
    if (options_.jobs <= 1)
        return extract(EntryType::file);
    FileWorkers(*archive_, folder_, writer_, destination_, options_)
        .write(positions_.at(index(EntryType::file)), batches_);
}

void ArchiveUnpacker::extract(EntryType type) {
    for (const std::uint64_t position : positions_.at(index(type)))
        writer_.write(position, type);
}

void ArchiveUnpacker::throwIfCancelled() const {
    if (options_.progress)
        options_.progress->throwIfCancelled();
}

} // namespace vellomir::archive
