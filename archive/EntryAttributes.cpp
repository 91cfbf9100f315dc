#include "archive/EntryAttributes.h"

#include "archive/Constants.h"

#include <sys/stat.h>

namespace vellomir::archive {
namespace {

constexpr std::uint32_t permissionBits = 07777;

std::uint16_t defaultPermissions(Entry::EntryType type) {
    return type == Entry::EntryType::directory ? defaultDirectoryPermissions
                                               : defaultFilePermissions;
}

} // namespace

FileAttributes attributesOf(const Entry &entry) {
    const CentralDirectoryStructure &structure = entry.centralDirectoryStructure();
    const Entry::EntryType type = entry.type();
    FileAttributes attributes;
    attributes.posixPermissions = defaultPermissions(type);
    attributes.modificationDate =
        Date::fromDateTime({structure.lastModFileDate, structure.lastModFileTime});
    if (const auto osType = Entry::osType(structure.versionMadeBy >> 8U))
        attributes.posixPermissions =
            permissionsOf(structure.externalFileAttributes, *osType, type);
    return attributes;
}

std::uint16_t permissionsOf(std::uint32_t externalFileAttributes, Entry::OSType osType,
                            Entry::EntryType entryType) {
    if (osType != Entry::OSType::unix && osType != Entry::OSType::osx)
        return defaultPermissions(entryType);
    const auto stored =
        static_cast<std::uint16_t>((externalFileAttributes >> 16U) & permissionBits);
    return stored == 0 ? defaultPermissions(entryType) : stored;
}

std::uint32_t externalFileAttributes(Entry::EntryType type, std::uint16_t permissions) {
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

} // namespace vellomir::archive
