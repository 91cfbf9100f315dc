#pragma once

#include "archive/Archive.h"
#include "archive/EndRecords.h"
#include "archive/StreamWriter.h"

#include <string>
#include <utility>

namespace vellomir::archive {

/// Adds entries behind the last one of an archive. The directory and the end records are written
/// once, by `finish`; after a cancellation or a failure they are put where they would be if
/// every entry had been added and finished by itself, so that the bytes are the same either way:
///
///     | entries … | directory | end records |                          finished
///     | entries … | directory | directory | end records |              cancelled in an entry
///     | entries … | part of an entry | rest of the directory and end records |   failed in one
///
/// One appender an archive at a time, and nothing else done with the archive meanwhile.
class EntryAppender {
public:
    /// Reads the directory, and checks it once an archive (see `Archive`, Adding). Throws
    /// `unwritableArchive` for an archive opened for reading; nothing is written then.
    explicit EntryAppender(Archive &archive);
    /// Finishes what is not finished, as far as that is possible.
    ~EntryAppender();
    EntryAppender(const EntryAppender &) = delete;
    EntryAppender &operator=(const EntryAppender &) = delete;

    /// After an error while the entry was written, no further entry can be added:
    /// `unwritableArchive`.
    void add(const std::string &path, Entry::EntryType type, std::int64_t uncompressedSize,
             Date modificationDate, std::optional<std::uint16_t> permissions,
             const Provider &provider, const Archive::AddOptions &options);
    /// Writes the directory and the end records, and cuts the file behind them. The archive object
    /// gets its new end records when all of that has gone well. Does nothing the second time, or
    /// after a cancellation; throws `unwritableArchive` after a failed entry.
    void finish();

private:
    struct Sizes {
        std::uint64_t uncompressed;
        std::uint64_t compressed;
    };
    /// Bytes written, and the checksum of the plain ones.
    using Written = std::pair<std::int64_t, CRC32>;

    void writeWholeEntry(const std::string &path, Entry::EntryType type,
                         std::int64_t uncompressedSize, Date::DateTime modificationDateTime,
                         std::uint16_t permissions, const Provider &provider,
                         const Archive::AddOptions &options);
    LocalFileHeader writeLocalFileHeader(std::uint64_t offset, const std::string &path,
                                         CompressionMethod compressionMethod, Sizes size,
                                         CRC32 checksum, Date::DateTime modificationDateTime);
    Written writeEntry(std::int64_t uncompressedSize, Entry::EntryType type,
                       const Archive::AddOptions &options, const Provider &provider);
    Written writeUncompressed(std::int64_t size, const Archive::AddOptions &options,
                              const Provider &provider);
    Written writeCompressed(std::int64_t size, const Archive::AddOptions &options,
                            const Provider &provider);
    Written writeSymbolicLink(std::int64_t size, const Provider &provider);
    void cutBehindTheEnd();
    void rollback(std::uint64_t localFileHeaderStart);
    void leaveAsWritten(std::uint64_t localFileHeaderStart);
    void close();

    Archive &archive_;
    StreamWriter writer_;
    /// All records of the directory, the new ones included, and the end records that fit them.
    Data directory_;
    EndRecords records_;
    /// Whether the directory in the file is the current one.
    bool isDirectoryWritten_ = true;
    /// Nothing more is added: finished, cancelled or failed.
    bool isFinished_ = false;
    bool isFailed_ = false;
};

} // namespace vellomir::archive
