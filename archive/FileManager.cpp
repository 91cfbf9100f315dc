#include "archive/FileManager.h"

#include "archive/EntryAttributes.h"
#include "archive/FileItem.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"

#include <sys/stat.h>

namespace vellomir::archive {
bool FileManager::itemExists(const URL &at) const {
    return at.isFileURL() && statusOf(at.path(), Links::refuse);
}

Entry::EntryType FileManager::typeForItem(const URL &at) const {
    return FileItem(at).type();
}

void FileManager::createParentDirectoryStructure(const URL &url) const {
    const std::string folder = url.deletingLastPathComponent().path();
    makeFolders(folder, folder);
}

FileAttributes FileManager::attributes(const Entry &entry) {
    return attributesOf(entry);
}

std::uint16_t FileManager::permissions(std::uint32_t externalFileAttributes, Entry::OSType osType,
                                       Entry::EntryType entryType) {
    return permissionsOf(externalFileAttributes, osType, entryType);
}

std::uint32_t FileManager::externalFileAttributesForEntry(Entry::EntryType type,
                                                          std::uint16_t permissions) {
    return externalFileAttributes(type, permissions);
}

std::uint16_t FileManager::permissionsForItem(const URL &at) const {
    const auto status = statusOf(at.path(), Links::refuse);
    return status ? static_cast<std::uint16_t>(status->mode()) : std::uint16_t{0};
}

Date FileManager::fileModificationDateTimeForItem(const URL &at) const {
    return FileItem(at).modificationDate();
}

std::int64_t FileManager::fileSizeForItem(const URL &at) const {
    return FileItem(at).size();
}

std::int64_t FileManager::totalUnitCountForAddingItem(const URL &at) const {
    return Archive::totalUnitCountForAddingItem(at);
}

FileManager::ProgressPointer FileManager::makeProgressForAddingItem(const URL &at) const {
    return Progress::make(totalUnitCountForAddingItem(at));
}

} // namespace vellomir::archive
