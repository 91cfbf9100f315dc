#include "archive/NewEntryWriter.h"

#include "archive/EntryAttributes.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <utility>

namespace vellomir::archive {
namespace {

using EntryType = Entry::EntryType;

/// Bytes written, and the checksum of the plain ones.
using Written = std::pair<std::int64_t, CRC32>;

void throwIfCancelled(const ProgressPointer &progress) {
    if (progress)
        progress->throwIfCancelled();
}

Written writeUncompressed(StreamWriter &writer, std::int64_t size, const Provider &provider,
                          const AddOptions &options) {
    std::int64_t written = 0;
    CRC32 checksum = 0;
    for (std::int64_t position = 0; position < size;) {
        throwIfCancelled(options.progress);
        const std::int64_t readSize = std::min(options.bufferSize, size - position);
        const auto chunk = provider(position, static_cast<std::size_t>(readSize));
        checksum = Data::crc32(chunk, checksum);
        writer.write(chunk);
        written += static_cast<std::int64_t>(chunk.size());
        // By the size that was asked for, not by that of the chunk: a short chunk is the last one.
        position += readSize;
        if (options.progress)
            options.progress->setCompletedUnitCount(written);
    }
    return {written, checksum};
}

Written writeCompressed(StreamWriter &writer, std::int64_t size, const Provider &provider,
                        const AddOptions &options) {
    std::int64_t written = 0;
    const Provider source = [&](std::int64_t position, std::size_t chunkSize) {
        throwIfCancelled(options.progress);
        const auto chunk = provider(position, chunkSize);
        if (options.progress)
            options.progress->addCompletedUnitCount(static_cast<std::int64_t>(chunk.size()));
        return chunk;
    };
    const Consumer sink = [&](std::span<const std::byte> chunk) {
        writer.write(chunk);
        written += static_cast<std::int64_t>(chunk.size());
    };
    // One byte more than the data already makes the first chunk the last one.
    const std::int64_t bufferSize = std::min(options.bufferSize - 1, size) + 1;
    const CRC32 checksum = Data::compress(size, bufferSize, source, sink);
    return {written, checksum};
}

Written writeSymbolicLink(StreamWriter &writer, std::int64_t size, const Provider &provider) {
    const auto target = provider(0, static_cast<std::size_t>(size));
    writer.write(target);
    return {static_cast<std::int64_t>(target.size()), Data::crc32(target, 0)};
}

Written writeData(StreamWriter &writer, const NewEntry &entry, const Provider &provider,
                  const AddOptions &options) {
    const auto size = static_cast<std::int64_t>(entry.uncompressedSize);
    Written written = {0, 0};
    switch (entry.type) {
    case EntryType::file:
        return entry.method == CompressionMethod::deflate
                   ? writeCompressed(writer, size, provider, options)
                   : writeUncompressed(writer, size, provider, options);
    case EntryType::directory:
        static_cast<void>(provider(0, 0));
        break;
    case EntryType::symlink:
        written = writeSymbolicLink(writer, size, provider);
        break;
    }
    complete(options.progress);
    return written;
}

} // namespace

NewEntry writeNewEntry(StreamWriter &writer, NewEntry entry, const Provider &provider,
                       const AddOptions &options) {
    const std::uint64_t start = writer.position();
    entry.method =
        entry.type == EntryType::file ? options.compressionMethod : CompressionMethod::none;
    entry.compressedSize = 0;
    entry.checksum = 0;
    writer.write(makeLocalFileHeader(entry).data());
    const auto [written, checksum] = writeData(writer, entry, provider, options);
    const auto compressedSize = static_cast<std::uint64_t>(written);
    // Data that grew to 4 GiB on its way in would need a longer header, over its own first bytes.
    if (needsZIP64(entry.uncompressedSize, 0) != needsZIP64(entry.uncompressedSize, compressedSize))
        throw Error(ArchiveError::invalidEntrySize,
                    {.detail = "The data is 4 GiB or more only after compression"});
    entry.compressedSize = compressedSize;
    entry.checksum = checksum;
    writer.patch(start, makeLocalFileHeader(entry).data());
    return entry;
}

CentralDirectoryStructure directoryRecord(const NewEntry &entry, std::uint64_t offset) {
    return makeCentralDirectoryStructure(makeLocalFileHeader(entry), offset,
                                         externalFileAttributes(entry.type, entry.permissions));
}

} // namespace vellomir::archive
