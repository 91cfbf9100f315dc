// Changes: entries are added and removed, also in ways that must fail, and after each step the
// archive holds what a list of the expected entries holds, the same in memory and in a file.
// Input: the steps, each of three bytes behind their count, then the archive's bytes.

#include "archive/Archive.h"
#include "fuzz/Folder.h"
#include "fuzz/Input.h"
#include "fuzz/Layout.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace vellomir::archive {

using fuzz::require;
using AccessMode = Archive::AccessMode;
using EntryType = Entry::EntryType;

namespace {

constexpr std::size_t maximumEntries = 40;
constexpr std::size_t maximumSteps = 6;
constexpr std::size_t contentLimit = std::size_t{1} << 18U;

/// An entry as it must stay. Extraction may fail, before and after a change alike.
struct Item {
    std::string path;
    EntryType type = EntryType::file;
    std::error_code error;
    Data content;
    Data local;  ///< header, data and descriptor, byte for byte
    Data record; ///< of the directory, without the offset
    FileAttributes attributes;
    CRC32 checksum = 0;

    friend bool operator==(const Item &, const Item &) = default;
};
using Items = std::vector<Item>;

struct Step {
    unsigned kind;
    std::uint8_t what;
    std::uint8_t how;
};

/// Without what a removal must change: the offset, and the ZIP64 field that may hold it.
Data lastingRecord(CentralDirectoryStructure record) {
    if (record.zip64ExtendedInformation()) {
        record.extraFieldData = {};
        record.extraFieldLength = 0;
    }
    record.relativeOffsetOfLocalHeader = 0;
    return record.data();
}

Item itemOf(const Archive &archive, const Entry &entry, const Data &bytes) {
    Item item{.path = archive.path(entry),
              .type = entry.type(),
              .record = lastingRecord(entry.centralDirectoryStructure()),
              .attributes = entry.fileAttributes(),
              .checksum = entry.checksum()};
    const auto offset = entry.centralDirectoryStructure().effectiveRelativeOffsetOfLocalHeader();
    const auto local = bytes.bytes().subspan(static_cast<std::size_t>(offset));
    item.local = Data(local.first(std::min<std::size_t>(entry.localSize(), local.size())));
    try {
        const auto take = [&](std::span<const std::byte> chunk) { item.content.append(chunk); };
        static_cast<void>(archive.extract(entry, take, {.sizeLimit = contentLimit}));
    } catch (const Error &error) {
        item.error = error.code();
    }
    return item;
}

Items itemsOf(const Archive &archive, const Data &bytes) {
    Items items;
    for (const Entry &entry : archive)
        items.push_back(itemOf(archive, entry, bytes));
    return items;
}

/// What the bytes hold when they are opened anew.
Items reread(const Data &bytes) {
    const auto archive = Archive::make(bytes, AccessMode::read);
    require(archive != nullptr, "a changed archive can be opened");
    return itemsOf(*archive, bytes);
}

/// One archive, in memory and in a file, changed in the same way.
class Pair {
public:
    explicit Pair(const Data &bytes) {
        const std::string_view text = bytes.text();
        std::ofstream(path(), std::ios::binary)
            .write(text.data(), static_cast<std::streamsize>(text.size()));
        memory_ = Archive::make(bytes, AccessMode::update);
        file_ = Archive::make(URL::file(path().string()), AccessMode::update);
        require(memory_ && file_, "what can be read can be updated");
    }

    [[nodiscard]] Archive &memory() { return *memory_; }
    [[nodiscard]] Data bytes() const { return memory_->data().value(); }

    /// The error of a change, which must be the same for both.
    template <class Change>
    std::error_code apply(const Change &change) {
        const std::error_code error = outcome(*memory_, change);
        require(outcome(*file_, change) == error, "memory and file have one error");
        require(bytes().text() == fuzz::readFile(path()), "memory and file have the same bytes");
        return error;
    }

private:
    [[nodiscard]] std::filesystem::path path() const { return folder_ / "a"; }

    template <class Change>
    static std::error_code outcome(Archive &archive, const Change &change) {
        try {
            change(archive);
            return {};
        } catch (const Error &error) {
            return error.code();
        }
    }

    fuzz::Folder folder_;
    std::unique_ptr<Archive> memory_;
    std::unique_ptr<Archive> file_;
};

/// A file, a folder or a link with content that follows from the step.
Item newItem(const Step &step) {
    static const std::vector<std::string> paths = {
        "a", "b/c", "a", "Payload/Sample.app/Info.plist", "\xC3\xA4", std::string(300, 'n'),
        "",  "d"};
    Item item;
    item.path = paths[step.what % paths.size()];
    item.type = static_cast<EntryType>((step.what >> 3U) % 3);
    if (item.type == EntryType::directory)
        item.path += '/';
    std::string content(item.type == EntryType::directory ? 0 : 37U * step.how, 'x');
    for (std::size_t index = 0; index < content.size(); ++index)
        content[index] = static_cast<char>(index * index / (1 + step.what));
    item.content = Data(content);
    item.checksum = item.content.crc32(0);
    item.attributes = {static_cast<std::uint16_t>(0600U | (step.how & 0077U)),
                       Date::fromDateTime({static_cast<std::uint16_t>(33U + step.how), 64})};
    return item;
}

Provider providerOf(const Data &content) {
    return [&content](std::int64_t position, std::size_t size) {
        const auto rest = content.bytes().subspan(static_cast<std::size_t>(position));
        return rest.first(std::min(size, rest.size()));
    };
}

Archive::AddOptions optionsOf(const Step &step) {
    return {.compressionMethod =
                (step.how & 1U) != 0 ? CompressionMethod::deflate : CompressionMethod::none,
            .bufferSize = 1 + 13 * (step.how % 64)};
}

void addTo(Archive &archive, const Item &item, const Archive::AddOptions &options) {
    archive.addEntry(item.path, item.type, static_cast<std::int64_t>(item.content.size()),
                     item.attributes.modificationDate, item.attributes.posixPermissions,
                     providerOf(item.content), options);
}

/// Adding changes no other entry. False if the archive refuses additions, as it was.
bool add(Pair &pair, Items &items, const Step &step) {
    const Item item = newItem(step);
    const Data before = pair.bytes();
    const auto error = pair.apply([&](Archive &archive) { addTo(archive, item, optionsOf(step)); });
    if (error) {
        require(pair.bytes() == before, "an addition that is refused changes nothing");
        return false;
    }
    const Items found = reread(pair.bytes());
    require(found.size() == items.size() + 1, "one entry is added");
    Item added = found.back();
    added.local = added.record = {}; // which only the engine knows
    require(added == item, "the added entry is what was given");
    items.push_back(found.back());
    require(found == items, "adding changes no other entry");
    return true;
}

/// A cancelled addition leaves the entries as they were, and the archive can be changed again.
void cancelAddition(Pair &pair, const Items &items, const Step &step) {
    Item item = newItem(step);
    item.type = EntryType::file;
    item.content = Data(std::string(2000, 'c'));
    const auto error = pair.apply([&](Archive &archive) {
        Archive::AddOptions options = optionsOf(step);
        options.progress = Progress::make();
        options.progress->cancel();
        addTo(archive, item, options);
    });
    require(static_cast<bool>(error), "a cancelled addition says so");
    require(reread(pair.bytes()) == items, "a cancelled addition adds nothing");
}

/// Two entries of the same path, checksum and place are one to `remove`.
std::vector<std::size_t> sameEntries(const Archive &archive, const Entry &entry) {
    std::vector<std::size_t> indices;
    std::size_t index = 0;
    for (const Entry &each : archive) {
        if (each == entry)
            indices.push_back(index);
        ++index;
    }
    return indices;
}

std::optional<Entry> entryAt(const Archive &archive, std::size_t index) {
    for (const Entry &entry : archive)
        if (index-- == 0)
            return entry;
    return std::nullopt;
}

/// Removing changes no other entry; a removal that fails changes nothing at all.
bool remove(Pair &pair, Items &items, const Step &step) {
    const auto entry = entryAt(pair.memory(), step.what % std::max<std::size_t>(items.size(), 1));
    if (!entry)
        return true;
    const auto gone = sameEntries(pair.memory(), *entry);
    const Data before = pair.bytes();
    const bool isCancelled = step.how % 4 == 1;
    const auto error = pair.apply([&](Archive &archive) {
        Archive::RemoveOptions options{.bufferSize = 1 + 7 * step.how,
                                       .progress = Progress::make()};
        if (isCancelled)
            options.progress->cancel();
        archive.remove(*entry, options);
    });
    if (error) {
        require(pair.bytes() == before, "a removal that fails changes nothing");
        return isCancelled;
    }
    for (auto index = gone.rbegin(); index != gone.rend(); ++index)
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(*index));
    require(reread(pair.bytes()) == items, "removing changes no other entry");
    return true;
}

/// An entry that is not there cannot be removed.
void removeMissing(Pair &pair, const Step &step) {
    const auto other = Archive::make(Data(), AccessMode::create);
    Item item = newItem(step);
    item.path = "there is no such entry";
    addTo(*other, item, optionsOf(step));
    const Data before = pair.bytes();
    require(
        static_cast<bool>(pair.apply([&](Archive &archive) { archive.remove(*other->begin()); })),
        "what is not there cannot be removed");
    require(pair.bytes() == before, "a removal that fails changes nothing");
}

/// False if the archive cannot be changed any further.
bool take(Pair &pair, Items &items, const Step &step) {
    switch (step.kind % 8) {
    case 0:
    case 1:
    case 2:
        return add(pair, items, step);
    case 3:
        cancelAddition(pair, items, step);
        return true;
    case 4:
        removeMissing(pair, step);
        return true;
    default:
        return remove(pair, items, step);
    }
}

std::vector<Step> steps(fuzz::Input &input) {
    std::vector<Step> result(1 + input.choice(maximumSteps));
    for (Step &step : result)
        step = {input.byte(), input.byte(), input.byte()};
    return result;
}

/// Whether all bytes of an entry are within the range that is moved when others are
/// removed: a descriptor may give another size than the directory, and the directory another method
/// than the local header, so that the descriptor is looked for behind them.
bool holdsItsData(const Entry &entry) {
    const CentralDirectoryStructure &record = entry.centralDirectoryStructure();
    const std::uint64_t stored = record.effectiveCompressedSize();
    const std::uint64_t plain = record.effectiveUncompressedSize();
    const std::uint64_t own = entry.localSize() - entry.localFileHeader().data().size();
    const std::uint64_t read = entry.type() == EntryType::symlink
                                   ? entry.localFileHeader().compressedSize
                               : entry.isCompressed() ? stored
                                                      : plain;
    const std::uint64_t descriptor = record.compressionMethod == 0 ? plain : stored;
    const std::uint64_t size = record.isZIP64() ? ZIP64DataDescriptor::size : DataDescriptor::size;
    const bool holdsDescriptor = own >= size && descriptor <= own - size;
    return read <= own && (!record.usesDataDescriptor() || holdsDescriptor);
}

/// An archive whose entries overlap each other or the directory cannot keep them all.
bool canBeCompared(const Archive &archive, const Data &bytes) {
    if (!fuzz::hasUsualLayout(archive, bytes) ||
        archive.totalNumberOfEntriesInCentralDirectory() > maximumEntries)
        return false;
    for (const Entry &entry : archive)
        if (!holdsItsData(entry))
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::vector<Step> wanted = steps(input);
    const Data bytes(input.rest());
    const auto archive = Archive::make(bytes, AccessMode::read);
    if (!archive)
        return 0;
    Pair pair(bytes);
    if (!canBeCompared(*archive, bytes)) {
        static_cast<void>(pair.apply([&](Archive &each) {
            addTo(each, newItem(wanted.front()), optionsOf(wanted.front()));
        }));
        return 0;
    }
    Items items = itemsOf(*archive, bytes);
    for (const Step &step : wanted)
        if (!take(pair, items, step))
            break;
    return 0;
}

} // namespace vellomir::archive
