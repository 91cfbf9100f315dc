#include "archive/EntryAppender.h"

#include "archive/BufferSize.h"
#include "archive/EntryAttributes.h"
#include "archive/EntryRecords.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <limits>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

void throwIfCancelled(const Archive::ProgressPointer &progress) {
    if (progress)
        progress->throwIfCancelled();
}

/// A provider that never returns more than it was asked for.
Provider bounded(const Provider &provider) {
    return [&provider](std::int64_t position, std::size_t size) {
        const auto chunk = provider(position, size);
        return chunk.first(std::min(chunk.size(), size));
    };
}

Archive &writable(Archive &archive) {
    if (archive.accessMode() == Archive::AccessMode::read)
        throw Error(ArchiveError::unwritableArchive, {.detail = "The archive is open for reading"});
    return archive;
}

} // namespace

EntryAppender::EntryAppender(Archive &archive)
    : archive_(writable(archive)),
      writer_(archive.archiveFile(), archive.offsetToStartOfCentralDirectory(), archive.filePath()),
      directory_(archive.readDirectory()), records_(archive.endRecords()) {
    archive_.hasOpenBatch_ = true;
}

EntryAppender::~EntryAppender() {
    try {
        if (!isFinished_)
            finish();
    } catch (...) { // the error that led here is on its way already
    }
}

void EntryAppender::add(const std::string &path, EntryType type, std::int64_t uncompressedSize,
                        Date modificationDate, std::optional<std::uint16_t> permissions,
                        const Provider &provider, const Archive::AddOptions &options) {
    if (isFinished_)
        throw Error(ArchiveError::unwritableArchive,
                    {.path = archive_.filePath(),
                     .detail = "The batch is finished: nothing more can be added by it"});
    requireBufferSize(options.bufferSize);
    if (uncompressedSize < 0)
        throw Error(ArchiveError::invalidEntrySize);
    const std::uint64_t localFileHeaderStart = writer_.position();
    if (options.progress)
        options.progress->setTotalUnitCount(type == EntryType::directory ? defaultDirectoryUnitCount
                                                                         : uncompressedSize);
    const std::uint16_t defaultPermissions =
        type == EntryType::directory ? defaultDirectoryPermissions : defaultFilePermissions;
    try {
        writeWholeEntry(path, type, uncompressedSize, modificationDate.fileModificationDateTime(),
                        permissions.value_or(defaultPermissions), bounded(provider), options);
    } catch (const Error &error) {
        close();
        archive_.isDirectoryChecked_ = false;
        if (error.code() == ArchiveError::cancelledOperation)
            rollback(localFileHeaderStart);
        else
            leaveAsWritten(localFileHeaderStart);
        throw;
    } catch (...) { // of the provider
        close();
        archive_.isDirectoryChecked_ = false;
        leaveAsWritten(localFileHeaderStart);
        throw;
    }
}

void EntryAppender::close() {
    isFinished_ = true;
    archive_.hasOpenBatch_ = false;
}

void EntryAppender::finish() {
    if (isFailed_)
        throw Error(ArchiveError::unwritableArchive,
                    {.path = archive_.filePath(),
                     .detail = "The batch cannot be finished: an entry of it failed"});
    const bool isNothingLeft = isFinished_ || isDirectoryWritten_;
    close();
    if (isNothingLeft)
        return;
    archive_.isDirectoryChecked_ = false; // until it is written
    writer_.write(directory_);
    writeEndOfCentralDirectory(records_, writer_);
    writer_.flush();
    cutBehindTheEnd();
    archive_.setEndRecords(std::move(records_));
    archive_.isDirectoryChecked_ = true;
}

/// Old bytes behind the end records would be taken for a comment, or, if an old end record is among
/// them, for the end of the archive.
void EntryAppender::cutBehindTheEnd() {
    const std::uint64_t end = writer_.position();
    if (archive_.truncate(end))
        return;
    std::FILE *file = archive_.archiveFile();
    if (::fseeko(file, 0, SEEK_END) != 0 || ::ftello(file) != static_cast<off_t>(end))
        throw Error(Data::DataError::unwritableFile,
                    {.path = archive_.filePath(),
                     .detail = "The stream cannot be cut behind the archive's new end"});
}

void EntryAppender::writeWholeEntry(const std::string &path, EntryType type,
                                    std::int64_t uncompressedSize,
                                    Date::DateTime modificationDateTime, std::uint16_t permissions,
                                    const Provider &provider, const Archive::AddOptions &options) {
    const std::uint64_t start = writer_.position();
    const auto size = static_cast<std::uint64_t>(uncompressedSize);
    const CompressionMethod method =
        type == EntryType::file ? options.compressionMethod : CompressionMethod::none;
    writeLocalFileHeader(start, path, method, {size, 0}, 0, modificationDateTime);
    const auto [written, checksum] = writeEntry(uncompressedSize, type, options, provider);
    const Sizes sizes = {size, static_cast<std::uint64_t>(written)};
    // Data that grew to 4 GiB on its way in would need a longer header, over its own first bytes.
    if (needsZIP64(size, 0) != needsZIP64(sizes.uncompressed, sizes.compressed))
        throw Error(ArchiveError::invalidEntrySize,
                    {.detail = "The data is 4 GiB or more only after compression"});
    const LocalFileHeader header =
        writeLocalFileHeader(start, path, method, sizes, checksum, modificationDateTime);
    const CentralDirectoryStructure structure =
        makeCentralDirectoryStructure(header, start, externalFileAttributes(type, permissions));
    directory_.append(structure.data());
    isDirectoryWritten_ = false;
    records_ = records_.after(Archive::ModifyOperation::add, structure, writer_.position());
}

/// Behind everything else, or over the first version of the same header.
LocalFileHeader EntryAppender::writeLocalFileHeader(std::uint64_t offset, const std::string &path,
                                                    CompressionMethod compressionMethod, Sizes size,
                                                    CRC32 checksum,
                                                    Date::DateTime modificationDateTime) {
    LocalFileHeader header = makeLocalFileHeader({.path = path,
                                                  .method = compressionMethod,
                                                  .uncompressedSize = size.uncompressed,
                                                  .compressedSize = size.compressed,
                                                  .checksum = checksum,
                                                  .modificationDateTime = modificationDateTime});
    if (offset == writer_.position())
        writer_.write(header.data());
    else
        writer_.patch(offset, header.data());
    return header;
}

EntryAppender::Written EntryAppender::writeEntry(std::int64_t uncompressedSize, EntryType type,
                                                 const Archive::AddOptions &options,
                                                 const Provider &provider) {
    switch (type) {
    case EntryType::file:
        return options.compressionMethod == CompressionMethod::deflate
                   ? writeCompressed(uncompressedSize, options, provider)
                   : writeUncompressed(uncompressedSize, options, provider);
    case EntryType::directory: {
        static_cast<void>(provider(0, 0));
        complete(options.progress);
        return {0, 0};
    }
    case EntryType::symlink:
        break;
    }
    const Written written = writeSymbolicLink(uncompressedSize, provider);
    complete(options.progress);
    return written;
}

EntryAppender::Written EntryAppender::writeUncompressed(std::int64_t size,
                                                        const Archive::AddOptions &options,
                                                        const Provider &provider) {
    std::int64_t written = 0;
    CRC32 checksum = 0;
    for (std::int64_t position = 0; position < size;) {
        throwIfCancelled(options.progress);
        const std::int64_t readSize = std::min(options.bufferSize, size - position);
        const auto chunk = provider(position, static_cast<std::size_t>(readSize));
        checksum = Data::crc32(chunk, checksum);
        writer_.write(chunk);
        written += static_cast<std::int64_t>(chunk.size());
        // By what was asked for, not by what came: a short chunk is the last one.
        position += readSize;
        if (options.progress)
            options.progress->setCompletedUnitCount(written);
    }
    return {written, checksum};
}

EntryAppender::Written EntryAppender::writeCompressed(std::int64_t size,
                                                      const Archive::AddOptions &options,
                                                      const Provider &provider) {
    std::int64_t written = 0;
    const Provider source = [&](std::int64_t position, std::size_t chunkSize) {
        throwIfCancelled(options.progress);
        const auto chunk = provider(position, chunkSize);
        if (options.progress)
            options.progress->addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
        return chunk;
    };
    const Consumer sink = [&](std::span<const std::byte> chunk) {
        writer_.write(chunk);
        written += static_cast<std::int64_t>(chunk.size());
    };
    // One byte more than the data already makes the first chunk the last one.
    const std::int64_t bufferSize = std::min(options.bufferSize - 1, size) + 1;
    const CRC32 checksum = Data::compress(size, bufferSize, source, sink);
    return {written, checksum};
}

EntryAppender::Written EntryAppender::writeSymbolicLink(std::int64_t size,
                                                        const Provider &provider) {
    const auto target = provider(0, static_cast<std::size_t>(size));
    writer_.write(target);
    return {static_cast<std::int64_t>(target.size()), Data::crc32(target, 0)};
}

/// The directory is written twice: the first copy is the one that the end records point at.
void EntryAppender::rollback(std::uint64_t localFileHeaderStart) {
    writer_.goBack(localFileHeaderStart);
    writer_.flush();
    const bool isCut = archive_.truncate(localFileHeaderStart);
    writer_.write(directory_);
    writer_.write(directory_);
    writeEndOfCentralDirectory(records_, writer_);
    writer_.flush();
    if (!isCut)
        cutBehindTheEnd();
    archive_.setEndRecords(std::move(records_));
}

/// What was written of the entry has replaced the beginning of the directory. If the current
/// directory was never written, its rest is written behind that.
void EntryAppender::leaveAsWritten(std::uint64_t localFileHeaderStart) {
    isFailed_ = true;
    try {
        Data behind;
        if (!isDirectoryWritten_) {
            behind = directory_;
            behind.append(records_.data());
        }
        const auto written = static_cast<std::size_t>(writer_.position() - localFileHeaderStart);
        if (written < behind.size())
            writer_.write(behind.bytes().subspan(written));
        writer_.flush();
        archive_.setEndRecords(std::move(records_));
    } catch (...) { // the caller gets the first error
    }
}

} // namespace vellomir::archive
