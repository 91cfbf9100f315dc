#include "archive/FileManager.h"

#include "archive/FileItem.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"

#include <sys/stat.h>

namespace vellomir::archive {
namespace {

constexpr std::uint32_t permissionBits = 07777;

std::uint16_t defaultPermissions(Entry::EntryType type) {
    return type == Entry::EntryType::directory ? defaultDirectoryPermissions
                                               : defaultFilePermissions;
}

} // namespace

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
    const CentralDirectoryStructure &structure = entry.centralDirectoryStructure();
    const Entry::EntryType type = entry.type();
    FileAttributes attributes;
    attributes.posixPermissions = defaultPermissions(type);
    attributes.modificationDate =
        Date::fromDateTime({structure.lastModFileDate, structure.lastModFileTime});
    if (const auto osType = Entry::osType(structure.versionMadeBy >> 8U))
        attributes.posixPermissions = permissions(structure.externalFileAttributes, *osType, type);
    return attributes;
}

std::uint16_t FileManager::permissions(std::uint32_t externalFileAttributes, Entry::OSType osType,
                                       Entry::EntryType entryType) {
    if (osType != Entry::OSType::unix && osType != Entry::OSType::osx)
        return defaultPermissions(entryType);
    const auto stored =
        static_cast<std::uint16_t>((externalFileAttributes >> 16U) & permissionBits);
    return stored == 0 ? defaultPermissions(entryType) : stored;
}

std::uint32_t FileManager::externalFileAttributesForEntry(Entry::EntryType type,
                                                          std::uint16_t permissions) {
    const auto typeBits = [type]() -> std::uint32_t {
        switch (type) {
        case Entry::EntryType::file:
            return S_IFREG;
        case Entry::EntryType::directory:
            return S_IFDIR;
        case Entry::EntryType::symlink:
            break;
        }
        return S_IFLNK;
    };
    return (typeBits() | permissions) << 16U;
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
    try {
        return FileItem(at).unitCount();
    } catch (const Error &) {
        return -1;
    }
}

FileManager::ProgressPointer FileManager::makeProgressForAddingItem(const URL &at) const {
    return Progress::make(totalUnitCountForAddingItem(at));
}

} // namespace vellomir::archive
