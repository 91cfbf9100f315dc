#include "archive/Archive.h"
#include "files/FileLock.h"

#include "archive/ArchiveLock.h"
#include "archive/BufferSize.h"
#include "archive/EndRecords.h"
#include "archive/StreamWriter.h"
#include "archive/TemporaryReplacementDirectory.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>

namespace vellomir::archive {
namespace {

std::string globallyUniqueString() {
    std::random_device source;
    std::array<char, 33> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%08x%08x%08x%08x", source(),
                                    source(), source(), source()));
    return text.data();
}

/// The record of an entry that now starts at another offset.
CentralDirectoryStructure
updateOffsetInCentralDirectory(const CentralDirectoryStructure &centralDirectoryStructure,
                               std::uint64_t updatedOffset) {
    const bool fits = updatedOffset < maxOffsetOfLocalFileHeader;
    auto field = centralDirectoryStructure.zip64ExtendedInformation();
    if (field || !fits)
        field = ZIP64ExtendedInformation::from(field.value_or(ZIP64ExtendedInformation()),
                                               updatedOffset);
    return CentralDirectoryStructure::from(centralDirectoryStructure, field,
                                           fits ? static_cast<std::uint32_t>(updatedOffset)
                                                : maxUInt32);
}

/// The entries to be left out, found by their place in the archive.
class Removals {
public:
    explicit Removals(std::span<const Entry> entries) : entries_(entries) {
        for (const Entry &entry : entries)
            byOffset_.emplace(offset(entry), &entry);
    }

    /// Whether this is one of them.
    bool take(const Entry &entry) {
        const auto [begin, end] = byOffset_.equal_range(offset(entry));
        const auto isEqual = [&](const auto &each) { return *each.second == entry; };
        const auto found = std::find_if(begin, end, isEqual);
        if (found == end)
            return false;
        taken_.insert(found->second);
        return true;
    }

    /// What is not there cannot be removed.
    void requireAllTaken() const {
        for (const Entry &entry : entries_)
            if (!taken_.contains(&entry))
                throw Error(ArchiveError::invalidEntryPath,
                            {.entry = entry.path(), .detail = "The archive holds no such entry"});
    }

private:
    static std::uint64_t offset(const Entry &entry) {
        return entry.centralDirectoryStructure().effectiveRelativeOffsetOfLocalHeader();
    }

    std::span<const Entry> entries_;
    std::multimap<std::uint64_t, const Entry *> byOffset_;
    std::set<const Entry *> taken_;
};

/// Copies the header, the data and the descriptor of one entry after the other.
class EntryCopier {
public:
    EntryCopier(std::FILE *from, StreamWriter &to, std::int64_t bufferSize,
                Archive::ProgressPointer progress)
        : from_(from), to_(to), buffer_(makeBuffer(static_cast<std::size_t>(bufferSize))),
          bufferSize_(static_cast<std::uint64_t>(bufferSize)), progress_(std::move(progress)) {}

    /// The paths of the entry and of the archive are for errors.
    void copy(const Entry &entry, const std::string &entryPath, const std::string &path) {
        try {
            copy(entry);
        } catch (const Error &error) {
            throw error.about(entryPath, path);
        }
    }

private:
    void copy(const Entry &entry) {
        std::uint64_t rest = entry.localSize();
        if (rest > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
            throw Error(ArchiveError::invalidLocalHeaderSize);
        if (!Data::seek(from_,
                        entry.centralDirectoryStructure().effectiveRelativeOffsetOfLocalHeader()))
            throw Error(ArchiveError::invalidLocalHeaderDataOffset);
        while (rest > 0) {
            const auto size = static_cast<std::size_t>(std::min(rest, bufferSize_));
            const auto chunk = Data::readChunk(std::span(buffer_.get(), size), from_);
            if (chunk.size() != size)
                throw Error(Data::DataError::unreadableFile,
                            {.detail = "The archive ends in the middle of the data"});
            write(chunk);
            rest -= size;
        }
    }

    void write(std::span<const std::byte> chunk) {
        if (progress_)
            progress_->throwIfCancelled();
        to_.write(chunk);
        if (progress_)
            progress_->addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
    }

    std::FILE *from_;
    StreamWriter &to_;
    std::unique_ptr<std::byte[]> buffer_;
    std::uint64_t bufferSize_;
    Archive::ProgressPointer progress_;
};

/// The error without the path of the descriptor by which the folder is reached.
Error withKnownPath(const Error &error, const WorkingFolder &folder) {
    ErrorContext context = error.context();
    context.path = folder.visiblePath(context.path);
    return Error(error.code(), std::move(context));
}

} // namespace

/// An archive that will take the place of another one, and the folder it lives in until then.
struct Archive::Replacement {
    std::optional<ArchivePlace> place;   ///< of the archive that it replaces; none in memory
    std::optional<WorkingFolder> folder; ///< none in memory
    std::unique_ptr<Archive> archive;
};

void Archive::remove(const Entry &entry, const RemoveOptions &options) {
    remove(std::span(&entry, 1), options);
}

void Archive::remove(std::span<const Entry> entries, const RemoveOptions &options) {
    if (accessMode_ == AccessMode::read)
        throw Error(ArchiveError::unwritableArchive, {.detail = "The archive is open for reading"});
    requireBufferSize(options.bufferSize);
    static_cast<void>(readDirectory()); // for its check
    std::optional<FileIdentity> before;
    if (!isMemory())
        before.emplace(::fileno(archiveFile()), url_.path());
    const Replacement replacement = makeTemp();
    if (options.progress)
        options.progress->setTotalUnitCount(totalUnitCountForRemoving(entries));
    try {
        replacement.archive->setEndRecords(copyAllBut(entries, *replacement.archive, options));
        if (before) {
            requireUnchanged(replacement.place->file(), *before);
            replaceItem(replacement.place->file(), replacement.archive->url_);
        }
    } catch (const Error &error) {
        if (!before)
            throw;
        throw withKnownPath(error, *replacement.folder);
    }
    replaceCurrent(*replacement.archive);
}

EndRecords Archive::copyAllBut(std::span<const Entry> removed, Archive &target,
                               const RemoveOptions &options) const {
    StreamWriter writer(target.archiveFile(), 0, filePath()); // of a file that the user knows
    EntryCopier copier(archiveFile(), writer, options.bufferSize, options.progress);
    Removals removals(removed);
    Data directory;
    std::uint64_t count = 0;
    auto entries = makeIterator();
    while (const auto entry = entries.next()) {
        if (removals.take(*entry))
            continue;
        directory.append(
            updateOffsetInCentralDirectory(entry->centralDirectoryStructure(), writer.position())
                .data());
        copier.copy(*entry, path(*entry), filePath());
        ++count;
    }
    if (entries.end() != EntryIterator::End::complete)
        throw Error(
            ArchiveError::unreadableArchive,
            {.path = filePath(),
             .detail = "The archive holds entries that cannot be read, which would be lost"});
    removals.requireAllTaken();
    EndRecords records = endRecords().with(count, directory.size(), writer.position());
    writer.write(directory);
    writeEndOfCentralDirectory(records, writer);
    writer.flush();
    return records;
}

Archive::Replacement Archive::makeTemp() const {
    if (isMemory())
        return {std::nullopt, std::nullopt, open(Data(), AccessMode::create, preferredEncoding_)};
    Replacement replacement;
    replacement.place.emplace(url_);
    // The path may lead elsewhere by now: nothing is made in a folder without the open file.
    requireUnchanged(replacement.place->file(), FileIdentity(::fileno(archiveFile()), url_.path()));
    replacement.folder.emplace(temporaryReplacementDirectory(*replacement.place));
    const URL folder = URL::folder(replacement.folder->accessPath());
    try {
        replacement.archive = open(folder.appendingPathComponent(globallyUniqueString()),
                                   AccessMode::create, preferredEncoding_);
    } catch (const Error &error) {
        throw withKnownPath(error, *replacement.folder);
    }
    // Still locked when it has taken this archive's place.
    static_cast<void>(tryToLock(::fileno(replacement.archive->archiveFile())));
    return replacement;
}

/// After the new file is in place, so that a failure leaves this object as it was, on the old one.
void Archive::replaceCurrent(Archive &with) {
    archiveFile_ = std::move(with.archiveFile_); // the old stream goes before its buffer
    streamBuffer_ = std::move(with.streamBuffer_);
    memoryFile_ = std::move(with.memoryFile_);
    setEndRecords(with.endRecords());
}

std::int64_t Archive::totalUnitCountForRemoving(std::span<const Entry> entries) const {
    std::uint64_t size = offsetToStartOfCentralDirectory();
    for (const Entry &entry : entries)
        size -= std::min(size, entry.localSize());
    return static_cast<std::int64_t>(size);
}

Archive::ProgressPointer Archive::makeProgressForRemoving(const Entry &entry) const {
    return Progress::make(totalUnitCountForRemoving(entry));
}

} // namespace vellomir::archive
