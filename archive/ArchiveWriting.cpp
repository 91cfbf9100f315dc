#include "archive/Archive.h"

#include "archive/BatchAddition.h"

namespace vellomir::archive {

void Archive::addEntry(const std::string &with, const URL &relativeTo, const AddOptions &options) {
    addEntry(with, FileURL{relativeTo.appendingPathComponent(with)}, options);
}

void Archive::addEntry(const std::string &with, const FileURL &fileURL, const AddOptions &options) {
    const FileItem item(fileURL.url);
    BatchAddition batch(*this);
    batch.addEntry(with, item, options);
    batch.finish();
}

void Archive::addEntry(const std::string &with, Entry::EntryType type,
                       std::int64_t uncompressedSize, Date modificationDate,
                       std::optional<std::uint16_t> permissions, const Provider &provider,
                       const AddOptions &options) {
    BatchAddition batch(*this);
    batch.addEntry(with, type, uncompressedSize, modificationDate, permissions, provider, options);
    batch.finish();
}

void Archive::addEntries(std::span<const FileAddition> additions, const AddOptions &options) {
    BatchAddition batch(*this);
    batch.addEntries(additions, options);
    batch.finish();
}

std::int64_t Archive::totalUnitCountForAddingItem(const URL &at) {
    try {
        return FileItem(at).unitCount();
    } catch (const Error &) {
        return -1;
    }
}

Archive::ProgressPointer Archive::makeProgressForAddingItem(const URL &at) {
    return Progress::make(totalUnitCountForAddingItem(at));
}

} // namespace vellomir::archive
