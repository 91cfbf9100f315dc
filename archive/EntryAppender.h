#pragma once

#include "archive/Archive.h"
#include "archive/EndRecords.h"
#include "archive/EntryTarget.h"
#include "archive/StreamWriter.h"

#include <cstdint>

namespace vellomir::archive {

/// Entries that were written one behind the other.
struct WrittenEntries {
    Data directory;          ///< their records, in this order
    std::uint64_t count = 0; ///< entries
    std::uint64_t end = 0;   ///< where the last one ends, from the start of the archive
};

/// Adds entries behind the last one of an archive. The directory and the end records are written
/// once, by `finish`; after a cancellation or a failure they are put where they would be if
/// every entry had been added and finished by itself, so that the bytes are the same either way:
///
///     | entries … | directory | end records |                          finished
///     | entries … | directory | directory | end records |              cancelled in an entry
///     | entries … | part of an entry | rest of the directory and end records |   failed in one
///
/// One appender an archive at a time, and nothing else done with the archive meanwhile.
class EntryAppender : public EntryTarget {
public:
    /// Reads the directory, and checks it once an archive (see `Archive`, Adding). Throws
    /// `unwritableArchive` for an archive opened for reading; nothing is written then.
    explicit EntryAppender(Archive &archive);
    /// Finishes what is not finished, as far as that is possible.
    ~EntryAppender() override;
    EntryAppender(const EntryAppender &) = delete;
    EntryAppender &operator=(const EntryAppender &) = delete;

    /// Where the next entry will start, from the start of the archive.
    [[nodiscard]] std::uint64_t position() const { return writer_.position(); }
    /// The archive's file with a position of its own, to write entries from `position()` on, which
    /// `take` adds afterwards. Null in memory, for a stream without a file, and where the system
    /// has no more descriptors. Throws `DataError::unwritableFile`.
    [[nodiscard]] Archive::FilePointer openForAnotherThread();
    /// Adds entries that were written elsewhere, one behind the other, from `position()` on. Cuts
    /// the file behind them. Throws `DataError::unwritableFile`.
    void take(const WrittenEntries &entries);

    /// Writes the directory and the end records, and cuts the file behind them. The archive object
    /// gets its new end records when all of that has gone well. Does nothing the second time, or
    /// after a cancellation; throws `unwritableArchive` after a failed entry.
    void finish();

private:
    /// After an error while the entry was written, no further entry can be added:
    /// `unwritableArchive`.
    void write(const NewEntry &entry, const Provider &provider, const AddOptions &options) override;
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
