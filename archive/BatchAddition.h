#pragma once

#include "archive/FileItem.h"

#include <memory>
#include <span>
#include <string>

namespace vellomir::archive {

class Archive;
class EntryAppender;

/// An item on disk, and the path of the entry that is made of it.
struct FileAddition {
    std::string path;
    FileItem item;
};

/// Adds many entries to an archive. The directory is written once, by `finish`, and not after every
/// entry as `Archive::addEntry` does: the work is linear in the number of entries.
///
/// The archive object must outlive the batch, and nothing else is done with it until the batch is
/// finished. One thread.
///
/// An item that cannot be opened and options that are refused change nothing, and the batch goes
/// on. After an error while an entry is written the batch is over: another addition throws
/// `unwritableArchive`. The archive is then as if every entry had been added by itself with
/// `Archive::addEntry`: the entries added before stay; a cancelled entry leaves nothing; after
/// another error the archive is left as far as it was written, and may not open again. Work on a
/// copy, or in memory, if that must not happen.
class BatchAddition {
public:
    /// Reads the directory and checks it, as `Archive::addEntry` does, and throws the same errors.
    /// Nothing is written yet.
    explicit BatchAddition(Archive &archive);
    /// Finishes the batch if `finish` was not called. An error of that is lost: call `finish`.
    ~BatchAddition();
    BatchAddition(const BatchAddition &) = delete;
    BatchAddition &operator=(const BatchAddition &) = delete;

    /// Each adds one entry, and throws, as the function of `Archive` with the same parameters.
    void addEntry(const std::string &with, const URL &relativeTo, const AddOptions &options = {});
    void addEntry(const std::string &with, const FileURL &fileURL, const AddOptions &options = {});
    void addEntry(const std::string &with, Entry::EntryType type, std::int64_t uncompressedSize,
                  Date modificationDate, std::optional<std::uint16_t> permissions,
                  const Provider &provider, const AddOptions &options = {});

    /// Adds an item that was looked at before. Its content is read now.
    void addEntry(const std::string &with, const FileItem &item, const AddOptions &options = {});

    /// Adds all of them in this order. The progress gets the sum of their units as its total, and
    /// is looked at before each entry: `cancelledOperation`. Errors name the entry.
    void addEntries(std::span<const FileAddition> additions, const AddOptions &options = {});

    /// Writes the directory and the end records. Throws `DataError::unwritableFile`, and
    /// `unwritableArchive` if an entry failed. The second call does nothing.
    void finish();

private:
    std::unique_ptr<EntryAppender> appender_;
};

} // namespace vellomir::archive
