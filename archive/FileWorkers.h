#pragma once

#include "archive/Archive.h"
#include "archive/DestinationFolder.h"
#include "archive/EntryWriter.h"
#include "archive/FileManager.h"
#include "archive/OrderedWorkers.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vellomir::archive {

/// Where records of the directory are, from the start of the archive.
using RecordPositions = std::vector<std::uint64_t>;

/// Neighbouring files that one thread takes at once, so that it reads and writes what is close
/// together.
class FileBatches {
public:
    /// One file more than these does not begin another batch.
    struct Limits {
        std::size_t files = 16;
        std::uint64_t bytes = std::uint64_t{1} << 18U; ///< of all files, when they are unpacked
        /// Batches from the first unfinished one on that may be begun.
        std::size_t window = 256;
    };

    explicit FileBatches(const Limits &limits) : limits_(limits) {}

    /// The next file, which will have this size in bytes.
    void add(std::uint64_t size);

    [[nodiscard]] std::size_t count() const { return starts_.size(); }
    /// The number of the batch's first file; for the batch after the last one, the count of files.
    [[nodiscard]] std::size_t start(std::size_t batch) const {
        return batch < starts_.size() ? starts_[batch] : files_;
    }
    [[nodiscard]] const Limits &limits() const { return limits_; }

private:
    Limits limits_;
    std::vector<std::size_t> starts_;
    std::size_t files_ = 0;
    std::uint64_t bytes_ = 0; ///< of the last batch
};

/// Writes the files of an archive on several threads, each with an `Archive` and a
/// `DestinationFolder` of its own. Outcome and error are those of one thread.
///
/// Entries may want the same name, or one may be a file where another needs a folder; which names
/// are the same, only the file system knows. So threads write without looking at each other. When
/// a file fails, all files behind it are removed again, and then the failed one is written once
/// more, and the rest after it, on one thread.
class FileWorkers {
public:
    /// The folder and the writer are those of the caller's thread.
    FileWorkers(const Archive &archive, DestinationFolder &folder, EntryWriter &writer,
                const URL &destination, const FileManager::UnzipOptions &options);
    FileWorkers(const FileWorkers &) = delete;
    FileWorkers &operator=(const FileWorkers &) = delete;
    ~FileWorkers();

    /// Once. Throws what `EntryWriter::write` throws.
    void write(const RecordPositions &files, const FileBatches &batches);

private:
    /// A folder that was made for files, with all that were made above it for the same ones.
    struct MadeFolder {
        std::string path;
        std::size_t existing; ///< the length of the path of the folder that was there already
    };
    /// What one batch has made, to undo it.
    struct MadeItems {
        std::size_t done = 0;    ///< files from the batch's first one on
        std::size_t created = 0; ///< `done`, or one more if the failed file was made
        std::vector<MadeFolder> folders;
        std::int64_t units = 0;     ///< of progress
        std::int64_t lastUnits = 0; ///< of them, those of the last file
    };
    /// One thread's own.
    struct Worker;
    class BatchObserver;

    void writeOnOneThread(std::size_t start, std::size_t end);
    void makeWorkers(std::size_t batches);
    void writeBatch(const OrderedItem &item, std::size_t batch);
    void finishAfter(const std::exception_ptr &failure, std::size_t batch);
    void undo(std::size_t first, std::size_t end);
    void removeFiles(std::size_t batch);
    void removeFolders(std::vector<MadeFolder> folders);
    void uncount(std::int64_t units);
    [[nodiscard]] MadeItems &made(std::size_t batch) { return made_[batch % made_.size()]; }

    const Archive &archive_;
    DestinationFolder &folder_;
    EntryWriter &writer_;
    const URL &destination_;
    const FileManager::UnzipOptions &options_;
    const RecordPositions *files_ = nullptr;
    const FileBatches *batches_ = nullptr;
    std::vector<std::unique_ptr<Worker>> others_;
    std::vector<MadeItems> made_; ///< of the batches in the window, again and again
};

} // namespace vellomir::archive
