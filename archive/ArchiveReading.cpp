#include "archive/Archive.h"

#include "archive/DestinationFolder.h"
#include "archive/StoredCopy.h"
#include "archive/UnitCount.h"
#include "files/PendingFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

/// More than any system takes for the target of a link.
constexpr std::uint64_t maxSymbolicLinkSize = std::uint64_t{1} << 16U;

std::int64_t signedSize(std::uint64_t size) {
    if (size > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        throw Error(ArchiveError::invalidEntrySize);
    return static_cast<std::int64_t>(size);
}

void requireSensible(std::int64_t bufferSize) {
    if (bufferSize <= 0)
        throw Error(ArchiveError::invalidBufferSize);
    if (bufferSize > maxBufferSize)
        throw Error(ArchiveError::invalidBufferSize, {.detail = "The buffer size is too large"});
}

/// The next bytes of the stream, from its position on; `size` of them are expected in all.
class StreamProvider {
public:
    /// The path is for errors.
    StreamProvider(std::FILE *file, std::string path, std::int64_t size, std::int64_t bufferSize)
        : file_(file), path_(std::move(path)),
          capacity_(static_cast<std::size_t>(std::min(size, bufferSize))),
          buffer_(new std::byte[capacity_]) {}

    std::span<const std::byte> operator()(std::int64_t /*position*/, std::size_t size) {
        try {
            return Data::readChunk(std::span(buffer_.get(), std::min(size, capacity_)), file_);
        } catch (const Error &error) {
            throw error.about({}, path_);
        }
    }

private:
    std::FILE *file_;
    std::string path_;
    std::size_t capacity_;
    std::unique_ptr<std::byte[]> buffer_;
};

/// Takes the bytes of a chunk off what may still be delivered.
void takeOff(std::uint64_t &left, std::size_t chunkSize, std::uint64_t limit) {
    if (chunkSize > left)
        throw Error(ArchiveError::invalidEntrySize,
                    {.detail = "The data is longer than the " + std::to_string(limit) +
                               " bytes that the directory of the archive promises"});
    left -= chunkSize;
}

/// Counts what the consumer takes; stops before the next chunk when cancelled, and before the one
/// that goes beyond the limit. The consumer and the options must outlive it.
Consumer counting(const Consumer &consumer, const Archive::ExtractOptions &options) {
    return [&consumer, progress = options.progress.get(), limit = options.sizeLimit,
            left = options.sizeLimit.value_or(0)](std::span<const std::byte> chunk) mutable {
        if (progress != nullptr)
            progress->throwIfCancelled();
        if (limit)
            takeOff(left, chunk.size(), *limit);
        consumer(chunk);
        if (progress != nullptr)
            progress->addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
    };
}

/// A compressed link is not decoded, so its bytes are hardly ever a target.
constexpr const char *compressedLink = "The link is compressed: only a stored link can be read";

std::string linkTarget(const Data &data, bool isCompressed) {
    const std::string_view text = data.text();
    if (!isValidUTF8(text) || text.find('\0') != std::string_view::npos)
        throw Error(ArchiveError::invalidEntryPath,
                    {.detail = isCompressed ? compressedLink
                                            : "The target of the link is not valid UTF-8 text"});
    return std::string(text);
}

} // namespace

void Archive::seekTo(std::uint64_t dataOffset) const {
    try {
        if (!Data::seek(archiveFile_.get(), dataOffset))
            throw Error(ArchiveError::invalidLocalHeaderDataOffset);
    } catch (const Error &error) {
        throw error.about({}, filePath());
    }
}

Data Archive::readBytes(std::size_t size) const {
    try {
        return Data::readChunk(size, archiveFile_.get());
    } catch (const Error &error) {
        throw error.about({}, filePath());
    }
}

CRC32 Archive::extract(const Entry &entry, const Consumer &consumer,
                       const ExtractOptions &options) const {
    requireSensible(options.bufferSize);
    seekTo(entry.dataOffset());
    if (options.progress)
        options.progress->setTotalUnitCount(totalUnitCountForReading(entry));
    switch (entry.type()) {
    case EntryType::directory:
        consumer({});
        break;
    case EntryType::symlink:
        return readSymbolicLink(entry, consumer, options);
    case EntryType::file: {
        const auto method = makeCompressionMethod(entry.localFileHeader().compressionMethod);
        if (!method)
            throw Error(ArchiveError::invalidCompressionMethod);
        return *method == CompressionMethod::none ? readUncompressed(entry, consumer, options)
                                                  : readCompressed(entry, consumer, options);
    }
    }
    complete(options.progress);
    return 0;
}

CRC32 Archive::readUncompressed(const Entry &entry, const Consumer &consumer,
                                const ExtractOptions &options) const {
    const std::int64_t size =
        signedSize(entry.centralDirectoryStructure().effectiveUncompressedSize());
    StreamProvider provider(archiveFile_.get(), filePath(), size, options.bufferSize);
    const StoredCopy part{.size = size,
                          .chunkSize = options.bufferSize,
                          .skipCRC32 = options.skipCRC32,
                          .endsAtShortChunk = true};
    return copyStored(part, std::ref(provider), counting(consumer, options));
}

CRC32 Archive::readCompressed(const Entry &entry, const Consumer &consumer,
                              const ExtractOptions &options) const {
    const std::int64_t size =
        signedSize(entry.centralDirectoryStructure().effectiveCompressedSize());
    StreamProvider provider(archiveFile_.get(), filePath(), size, options.bufferSize);
    return Data::decompress(size, options.bufferSize, options.skipCRC32, std::ref(provider),
                            counting(consumer, options));
}

CRC32 Archive::readSymbolicLink(const Entry &entry, const Consumer &consumer,
                                const ExtractOptions &options) const {
    const Data target = readBytes(entry.localFileHeader().compressedSize);
    const CRC32 checksum = target.crc32(0);
    std::uint64_t left = options.sizeLimit.value_or(target.size());
    if (entry.isCompressed() && target.size() > left)
        throw Error(ArchiveError::invalidEntrySize, {.detail = compressedLink});
    if (options.sizeLimit)
        takeOff(left, target.size(), *options.sizeLimit);
    consumer(target);
    complete(options.progress);
    return checksum;
}

CRC32 Archive::extract(const Entry &entry, const URL &to, const ExtractOptions &options) const {
    requireSensible(options.bufferSize);
    DestinationFolder folder(to.deletingLastPathComponent());
    const std::string name = to.lastPathComponent();
    const CRC32 checksum = extract(entry, name, folder, options);
    folder.finishDirectories(nullptr);
    return checksum;
}

/// A folder gets its attributes from `finishDirectories`: they may forbid what is still to come
/// into it.
CRC32 Archive::extract(const Entry &entry, const std::string &name, DestinationFolder &folder,
                       const ExtractOptions &options) const {
    switch (entry.type()) {
    case EntryType::file: {
        DestinationFile file = folder.createFile(name);
        const CRC32 checksum = extract(
            entry, [&](std::span<const std::byte> chunk) { file.write(chunk); }, options);
        file.finish(entry.fileAttributes());
        return checksum;
    }
    case EntryType::directory:
        return extract(
            entry,
            [&](std::span<const std::byte>) {
                folder.createDirectory(name, entry.fileAttributes());
            },
            options);
    case EntryType::symlink:
        break;
    }
    folder.requireNothing(name);
    if (entry.localFileHeader().compressedSize > maxSymbolicLinkSize)
        throw writeError(folder.fullPath(name), ENAMETOOLONG);
    const auto createLink = [&](std::span<const std::byte> target) {
        folder.createSymbolicLink(name, linkTarget(Data(target), entry.isCompressed()),
                                  entry.fileAttributes().modificationDate);
    };
    return extract(entry, createLink, options);
}

void Archive::requireChecksum(const Entry &entry, CRC32 found) const {
    if (found == entry.checksum())
        return;
    std::array<char, 100> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "The data is damaged: its checksum is %08x, not %08x", found,
                                    entry.checksum()));
    throw Error(ArchiveError::invalidCRC32, {.entry = path(entry), .detail = text.data()});
}

void Archive::extractChecked(const Entry &entry, const Consumer &consumer,
                             const ExtractOptions &options) const {
    ExtractOptions checking = options;
    checking.skipCRC32 = false;
    requireChecksum(entry, extract(entry, consumer, checking));
}

void Archive::extractChecked(const Entry &entry, const URL &to,
                             const ExtractOptions &options) const {
    if (entry.type() == EntryType::file)
        return extractCheckedFile(entry, to, options);
    // A link's data is at most 64 KiB, and a folder has none: checked before anything is made.
    ExtractOptions unwatched = options;
    unwatched.progress = nullptr;
    if (entry.localFileHeader().compressedSize <= maxSymbolicLinkSize)
        extractChecked(
            entry, [](std::span<const std::byte>) {}, unwatched);
    static_cast<void>(extract(entry, to, options));
}

void Archive::extractCheckedFile(const Entry &entry, const URL &to,
                                 const ExtractOptions &options) const {
    requireSensible(options.bufferSize);
    DestinationFolder folder(to.deletingLastPathComponent());
    folder.requireNothing(to.lastPathComponent());
    folder.make();
    PendingFile pending(to.path());
    try {
        const URL at = URL::file(pending.path());
        DestinationFolder working(at.deletingLastPathComponent());
        DestinationFile file = working.createFile(at.lastPathComponent());
        extractChecked(
            entry, [&](std::span<const std::byte> chunk) { file.write(chunk); }, options);
        file.finish(entry.fileAttributes());
        pending.place(Existing::refuse);
    } catch (const Error &error) {
        throw pending.underFinalName(error);
    }
}

std::int64_t Archive::totalUnitCountForReading(const Entry &entry) {
    return entry.type() == EntryType::directory ? defaultDirectoryUnitCount
                                                : signedSize(entry.uncompressedSize());
}

Archive::ProgressPointer Archive::makeProgressForReading(const Entry &entry) {
    return Progress::make(totalUnitCountForReading(entry));
}

} // namespace vellomir::archive
