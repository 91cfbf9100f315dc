#include "archive/Archive.h"

#include "archive/EntryAppender.h"
#include "archive/FileItem.h"
#include "archive/FileManager.h"

namespace vellomir::archive {

void Archive::addEntry(const std::string &with, const URL &relativeTo, const AddOptions &options) {
    addEntry(with, FileURL{relativeTo.appendingPathComponent(with)}, options);
}

void Archive::addEntry(const std::string &with, const FileURL &fileURL, const AddOptions &options) {
    const FileItem item(fileURL.url);
    EntryAppender appender(*this);
    item.add(appender, with, options);
    appender.finish();
}

void Archive::addEntry(const std::string &with, Entry::EntryType type,
                       std::int64_t uncompressedSize, Date modificationDate,
                       std::optional<std::uint16_t> permissions, const Provider &provider,
                       const AddOptions &options) {
    EntryAppender appender(*this);
    appender.add(with, type, uncompressedSize, modificationDate, permissions, provider, options);
    appender.finish();
}

std::int64_t Archive::totalUnitCountForAddingItem(const URL &at) {
    return FileManager().totalUnitCountForAddingItem(at);
}

Archive::ProgressPointer Archive::makeProgressForAddingItem(const URL &at) {
    return FileManager().makeProgressForAddingItem(at);
}

} // namespace vellomir::archive
