#include "archive/EntryWriter.h"

#include "archive/PathBelow.h"
#include "archive/UnitCount.h"

namespace vellomir::archive {

EntryWriter::EntryWriter(const Archive &archive, DestinationFolder &folder, const URL &destination,
                         const FileManager::UnzipOptions &options)
    : archive_(archive), folder_(folder), destination_(destination), options_(options),
      entries_(archive.makeIterator()) {}

void EntryWriter::write(std::uint64_t position, Entry::EntryType type) {
    part_ = nullptr;
    if (options_.progress)
        options_.progress->throwIfCancelled();
    const Entry entry = entryAt(position, type);
    const std::string path = archive_.path(entry);
    try {
        extract(entry, path);
    } catch (const Error &error) {
        throw error.about(path);
    }
}

std::int64_t EntryWriter::countedUnits() const {
    const bool isCounted = part_ && part_->completedUnitCount() >= part_->totalUnitCount();
    return isCounted ? std::max<std::int64_t>(part_->totalUnitCount(), 0) : 0;
}

void EntryWriter::removeFile(std::uint64_t position) {
    folder_.removeFile(
        pathBelow(destination_, archive_.path(entryAt(position, Entry::EntryType::file))));
}

Entry EntryWriter::entryAt(std::uint64_t position, Entry::EntryType type) {
    entries_.goTo(position);
    auto entry = entries_.next();
    if (!entry || entry->type() != type)
        throw Error(ArchiveError::unreadableArchive,
                    {.path = archive_.url().path(),
                     .detail = "The archive was changed while it was unpacked"});
    return std::move(*entry);
}

void EntryWriter::extract(const Entry &entry, const std::string &entryPath) {
    const std::string path = pathBelow(destination_, entryPath);
    part_ =
        childProgress(options_.progress, [&] { return Archive::totalUnitCountForReading(entry); });
    Archive::ExtractOptions options{.skipCRC32 = options_.skipCRC32, .progress = part_};
    if (options_.holdsToDirectory)
        options.sizeLimit = entry.centralDirectoryStructure().effectiveUncompressedSize();
    const CRC32 checksum = archive_.extract(entry, path, folder_, options);
    if (!options_.skipCRC32)
        archive_.requireChecksum(entry, checksum);
}

} // namespace vellomir::archive
