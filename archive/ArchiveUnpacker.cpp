#include "archive/ArchiveUnpacker.h"

#include "archive/UnitCount.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace archive {
namespace {

using EntryType = Entry::EntryType;

bool needsResolving(std::string_view path) {
    const auto has = [path](std::string_view text) { return path.find(text) != path.npos; };
    return has("//") || has("/./") || has("/../") || path.starts_with("./") ||
           path.starts_with("../") || path.ends_with("/.") || path.ends_with("/..") ||
           path == "." || path == "..";
}

/// Where below the destination an entry belongs, without "." and "..": `fileReadInvalidFileName` if
/// it leaves the folder.
std::string pathBelow(const URL &destination, std::string_view entryPath) {
    while (entryPath.starts_with('/'))
        entryPath.remove_prefix(1);
    std::string resolved;
    if (needsResolving(entryPath)) {
        const URL target = destination.appendingPathComponent(entryPath);
        if (!target.isContained(destination))
            throw Error(FileError::fileReadInvalidFileName,
                        {.path = target.path(), .detail = "The name leads out of the folder"});
        const std::size_t rootLength = destination.standardized().path().size() + 1;
        resolved = target.standardized().path();
        resolved.erase(0, std::min(rootLength, resolved.size()));
        entryPath = resolved;
    }
    while (entryPath.ends_with('/'))
        entryPath.remove_suffix(1);
    return std::string(entryPath);
}

void check(CRC32 found, CRC32 expected) {
    if (found == expected)
        return;
    std::array<char, 100> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "The data is damaged: its checksum is %08x, not %08x", found,
                                    expected));
    throw Error(Archive::ArchiveError::invalidCRC32, {.detail = text.data()});
}

} // namespace

ArchiveUnpacker::ArchiveUnpacker(const URL &at, const URL &to, bool skipCRC32,
                                 std::shared_ptr<Progress> progress,
                                 std::optional<TextEncoding> preferredEncoding)
    : archive_(Archive::open(at, Archive::AccessMode::read, preferredEncoding)), destination_(to),
      folder_(to), skipCRC32_(skipCRC32), progress_(std::move(progress)) {
    auto entries = archive_->makeIterator();
    while (auto entry = entries.next()) {
        const EntryType type = entry->type();
        items_.push_back({std::move(*entry), type});
    }
}

void ArchiveUnpacker::run() {
    if (progress_)
        progress_->setTotalUnitCount(totalUnitCount());
    for (const EntryType type : {EntryType::directory, EntryType::file, EntryType::symlink})
        for (const Item &item : items_)
            if (item.type == type)
                extract(item, archive_->path(item.entry));
    finishDirectories();
}

std::int64_t ArchiveUnpacker::totalUnitCount() const {
    UnitCount total;
    for (const Item &item : items_)
        total += Archive::totalUnitCountForReading(item.entry);
    return total.value();
}

void ArchiveUnpacker::extract(const Item &item, const std::string &entryPath) try {
    const std::string path = pathBelow(destination_, entryPath);
    const auto part =
        childProgress(progress_, [&] { return Archive::totalUnitCountForReading(item.entry); });
    const CRC32 checksum =
        archive_->extract(item.entry, path, folder_, {.skipCRC32 = skipCRC32_, .progress = part});
    if (item.type == EntryType::directory)
        directories_.push_back({path, item.entry.fileAttributes()});
    if (!skipCRC32_)
        check(checksum, item.entry.checksum());
} catch (const Error &error) {
    throw error.about(entryPath);
}

/// Last, and from the inside out: a folder may be read-only, and its date is that of its last
/// change.
void ArchiveUnpacker::finishDirectories() {
    std::stable_sort(directories_.begin(), directories_.end(),
                     [](const Directory &left, const Directory &right) {
                         return left.path.size() > right.path.size();
                     });
    for (const Directory &directory : directories_)
        folder_.applyToDirectory(directory.path, directory.attributes);
}

} // namespace archive
