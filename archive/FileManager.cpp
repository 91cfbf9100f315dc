#include "archive/FileManager.h"

#include "archive/EntryAttributes.h"
#include "archive/FileItem.h"

#include <filesystem>
#include <sys/stat.h>

namespace vellomir::archive {
bool FileManager::itemExists(const URL &at) const {
    struct stat status {};
    return at.isFileURL() && ::lstat(at.path().c_str(), &status) == 0;
}

Entry::EntryType FileManager::typeForItem(const URL &at) const {
    return FileItem(at).type();
}

void FileManager::createParentDirectoryStructure(const URL &url) const {
    const std::string folder = url.deletingLastPathComponent().path();
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw writeError(folder, error.value());
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
    struct stat status {};
    return ::lstat(at.path().c_str(), &status) == 0 ? static_cast<std::uint16_t>(status.st_mode)
                                                    : std::uint16_t{0};
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
