// Archives in memory: what can be read of one, added to a new one and read again is equal; and one
// that takes a further entry can still be opened. Input: the archive's bytes.

#include "archive/Archive.h"
#include "fuzz/Layout.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vellomir::archive {

using fuzz::require;

namespace {

using AccessMode = Archive::AccessMode;
using EntryType = Entry::EntryType;

constexpr std::size_t contentBudget = std::size_t{1} << 18U;
struct OverContentBudget {};

struct ReadItem {
    std::string path;
    EntryType type = EntryType::file;
    Data content;
    std::uint16_t permissions = 0;
    Date::DateTime modified;
    CRC32 checksum = 0;

    friend bool operator==(const ReadItem &left, const ReadItem &right) {
        return left.path == right.path && left.type == right.type &&
               left.content == right.content && left.permissions == right.permissions &&
               left.modified.date == right.modified.date &&
               left.modified.time == right.modified.time && left.checksum == right.checksum;
    }
};

ReadItem read(const Archive &archive, const Entry &entry, std::size_t &left) {
    const FileAttributes attributes = entry.fileAttributes();
    ReadItem item{archive.path(entry),
                  entry.type(),
                  {},
                  attributes.posixPermissions,
                  attributes.modificationDate.fileModificationDateTime(),
                  0};
    item.checksum = archive.extract(entry, [&](std::span<const std::byte> chunk) {
        if (chunk.size() > left)
            throw OverContentBudget();
        left -= chunk.size();
        item.content.append(chunk);
    });
    return item;
}

/// Everything that can be extracted. Throws `OverContentBudget`.
std::vector<ReadItem> readAll(const Archive &archive) {
    std::vector<ReadItem> items;
    std::size_t left = contentBudget;
    for (const Entry &entry : archive) {
        require(entry.localSize() >= LocalFileHeader::size,
                "an entry is no shorter than its header");
        try {
            items.push_back(read(archive, entry, left));
        } catch (const Error &) { // it cannot be extracted
        }
    }
    return items;
}

void add(Archive &archive, const ReadItem &item, CompressionMethod method) {
    const Provider provider = [&](std::int64_t position, std::size_t size) {
        const auto rest = item.content.bytes().subspan(static_cast<std::size_t>(position));
        return rest.first(std::min(size, rest.size()));
    };
    archive.addEntry(item.path, item.type, static_cast<std::int64_t>(item.content.size()),
                     Date::fromDateTime(item.modified), item.permissions, provider,
                     {.compressionMethod = method, .bufferSize = 512});
}

std::unique_ptr<Archive> reopened(const Archive &archive) {
    auto again = Archive::make(archive.data().value(), AccessMode::read);
    require(again != nullptr, "what was written can be opened");
    return again;
}

void writeAgain(const std::vector<ReadItem> &items, CompressionMethod method) {
    const auto archive = Archive::make(Data(), AccessMode::create);
    require(archive != nullptr, "an archive in memory can be made");
    for (const ReadItem &item : items)
        add(*archive, item, method);
    require(readAll(*reopened(*archive)) == items, "what was written is what was read");
}

/// A further entry leaves the others as they were.
void update(const Data &data, std::vector<ReadItem> items) {
    const auto archive = Archive::make(data, AccessMode::update);
    require(archive != nullptr, "what can be read can be updated");
    const bool isUsual = fuzz::hasUsualLayout(*archive, data);
    const Data content(std::string_view("content"));
    items.push_back({"added", EntryType::file, content, 0600, {33, 0}, content.crc32(0)});
    try {
        add(*archive, items.back(), CompressionMethod::deflate);
    } catch (const Error &) {
        require(!isUsual, "an entry can be added");
        return;
    }
    if (isUsual)
        require(readAll(*reopened(*archive)) == items, "adding keeps what is there");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    const Data data(std::as_bytes(std::span(bytes, size)));
    const auto archive = Archive::make(data, AccessMode::read);
    if (!archive)
        return 0;
    try {
        const std::vector<ReadItem> items = readAll(*archive);
        writeAgain(items, CompressionMethod::none);
        writeAgain(items, CompressionMethod::deflate);
        update(data, items);
    } catch (const OverContentBudget &) { // nothing to learn from more of the same
    }
    return 0;
}

} // namespace vellomir::archive
