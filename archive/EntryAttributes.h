#pragma once

#include "archive/Entry.h"

#include <cstdint>

/// Modes and dates between entries and the items on disk.
namespace vellomir::archive {

/// See `FileManager::attributes`.
[[nodiscard]] FileAttributes attributesOf(const Entry &entry);
/// See `FileManager::permissions`.
[[nodiscard]] std::uint16_t permissionsOf(std::uint32_t externalFileAttributes,
                                          Entry::OSType osType, Entry::EntryType entryType);
/// See `FileManager::externalFileAttributesForEntry`.
[[nodiscard]] std::uint32_t externalFileAttributes(Entry::EntryType type,
                                                   std::uint16_t permissions);

} // namespace vellomir::archive
