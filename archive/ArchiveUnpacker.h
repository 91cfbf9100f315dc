#pragma once

#include "archive/Archive.h"
#include "archive/DestinationFolder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace archive {

/// One archive on its way into a folder.
class ArchiveUnpacker {
public:
    /// Opens the archive and reads its directory; throws `unreadableArchive`.
    ArchiveUnpacker(const URL &at, const URL &to, bool skipCRC32,
                    std::shared_ptr<Progress> progress,
                    std::optional<TextEncoding> preferredEncoding);

    void run();

private:
    struct Item {
        Entry entry;
        Entry::EntryType type;
    };
    struct Directory {
        std::string path;
        FileAttributes attributes;
    };

    [[nodiscard]] std::int64_t totalUnitCount() const;
    void extract(const Item &item, const std::string &entryPath);
    void finishDirectories();

    std::unique_ptr<Archive> archive_;
    URL destination_;
    DestinationFolder folder_;
    bool skipCRC32_;
    std::shared_ptr<Progress> progress_;
    std::vector<Item> items_;
    std::vector<Directory> directories_;
};

} // namespace archive
