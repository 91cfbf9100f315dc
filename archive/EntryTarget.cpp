#include "archive/EntryTarget.h"

#include "archive/BufferSize.h"

#include <algorithm>

namespace vellomir::archive {

void EntryTarget::add(const std::string &path, Entry::EntryType type, std::int64_t uncompressedSize,
                      Date modificationDate, std::optional<std::uint16_t> permissions,
                      const Provider &provider, const AddOptions &options) {
    requireBufferSize(options.bufferSize);
    if (uncompressedSize < 0)
        throw Error(ArchiveError::invalidEntrySize);
    const bool isFolder = type == Entry::EntryType::directory;
    if (options.progress)
        options.progress->setTotalUnitCount(isFolder ? defaultDirectoryUnitCount
                                                     : uncompressedSize);
    const auto bounded = [&provider](std::int64_t position, std::size_t size) {
        const auto chunk = provider(position, size);
        return chunk.first(std::min(chunk.size(), size));
    };
    write({.path = path,
           .type = type,
           .uncompressedSize = static_cast<std::uint64_t>(uncompressedSize),
           .modificationDateTime = modificationDate.fileModificationDateTime(),
           .permissions = permissions.value_or(isFolder ? defaultDirectoryPermissions
                                                        : defaultFilePermissions)},
          bounded, options);
}

} // namespace vellomir::archive
