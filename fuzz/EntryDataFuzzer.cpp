// The data of entries: to memory and to disk, in chunks of any size, comes what the archive's bytes
// hold by zlib alone, with the same checksum, up to the limit and not beyond.
// Input: a size of chunks, a limit, then the archive's bytes.

#include "archive/Archive.h"
#include "fuzz/Directory.h"
#include "fuzz/Folder.h"
#include "fuzz/Input.h"
#include "fuzz/PlainInflate.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <string>
#include <vector>

namespace vellomir::archive {

using fuzz::Bytes;
using fuzz::Member;
using fuzz::require;
using ArchiveError = Archive::ArchiveError;
using CompressionError = Data::CompressionError;
using EntryType = Entry::EntryType;

namespace {

constexpr std::size_t entryLimit = std::size_t{1} << 17U;
constexpr std::size_t maximumEntriesRead = 12;

struct EntryOutcome {
    std::error_code error; ///< none if all went well
    Data content;
    CRC32 checksum = 0;
};

EntryOutcome extract(const Archive &archive, const Entry &entry,
                     const Archive::ExtractOptions &options) {
    EntryOutcome outcome;
    try {
        outcome.checksum = archive.extract(
            entry, [&](Bytes chunk) { outcome.content.append(chunk); }, options);
    } catch (const Error &error) {
        outcome.error = error.code();
    }
    require(!options.sizeLimit || outcome.content.size() <= *options.sizeLimit,
            "no more is delivered than the limit allows");
    return outcome;
}

/// Whether one of them begins as the whole other one.
bool agree(Bytes left, Bytes right) {
    const std::size_t size = std::min(left.size(), right.size());
    return std::ranges::equal(left.first(size), right.first(size));
}

/// The bytes of the archive from the offset, as many of them as there are.
Bytes available(Bytes archive, std::uint64_t offset, std::uint64_t size) {
    const auto start = static_cast<std::size_t>(std::min<std::uint64_t>(offset, archive.size()));
    const Bytes rest = archive.subspan(start);
    return rest.first(static_cast<std::size_t>(std::min<std::uint64_t>(size, rest.size())));
}

/// Stored data comes out as the bytes in the archive.
void requireStored(const EntryOutcome &outcome, Bytes expected) {
    if (expected.size() > entryLimit) {
        require(outcome.error == ArchiveError::invalidEntrySize, "too much is refused");
        return;
    }
    require(!outcome.error, "stored data can be read");
    require(outcome.content == Data(expected), "stored data comes as it is in the archive");
}

/// Deflated data is what zlib makes of the archive's bytes.
void requireInflated(const EntryOutcome &outcome, Bytes stream) {
    const fuzz::PlainInflate plain = fuzz::inflatePlainly(stream, entryLimit);
    if (plain.isComplete) {
        require(!outcome.error, "a complete stream can be read");
        require(outcome.content == Data(plain.output), "the inflaters deliver the same bytes");
        return;
    }
    const Data whole{Bytes(plain.output)};
    if (plain.hasIncompleteCode) // which zlib alone refuses
        return;
    require(agree(outcome.content, whole), "no byte is made up");
    const bool isEither = outcome.error == ArchiveError::invalidEntrySize ||
                          outcome.error == CompressionError::corruptedData;
    require(isEither, "damaged, cut and too long data is refused");
    if (plain.isDamaged)
        require(outcome.error == CompressionError::corruptedData ||
                    plain.output.size() == entryLimit,
                "damage has the right error");
}

/// What the entry must deliver, from the archive's bytes alone.
void requireExpected(const EntryOutcome &outcome, const Entry &entry, const Member &member,
                     Bytes archive) {
    constexpr std::uint64_t greatestSize = std::uint64_t{1} << 63U;
    if (entry.type() != EntryType::file || member.dataOffset >= greatestSize)
        return;
    const bool isStored = member.localMethod == 0;
    const std::uint64_t size = isStored ? member.plainSize : member.storedSize;
    if (!isStored && member.localMethod != 8)
        return require(outcome.error == ArchiveError::invalidCompressionMethod,
                       "other methods are refused");
    if (size >= greatestSize)
        return require(outcome.error == ArchiveError::invalidEntrySize,
                       "impossible sizes are refused");
    const Bytes stored = available(archive, member.dataOffset, size);
    if (isStored)
        requireStored(outcome, stored);
    else
        requireInflated(outcome, stored);
}

/// However the chunks are cut, the outcome is the same.
void requireSame(const EntryOutcome &one, const EntryOutcome &other) {
    require(one.error == other.error, "the size of the chunks changes no error");
    if (!one.error)
        require(one.content == other.content && one.checksum == other.checksum,
                "the size of the chunks changes no byte");
    else
        require(agree(one.content, other.content),
                "the size of the chunks changes no byte before an error");
}

void requireLimit(const Archive &archive, const Entry &entry, const EntryOutcome &whole,
                  std::size_t limit) {
    const EntryOutcome limited = extract(archive, entry, {.skipCRC32 = true, .sizeLimit = limit});
    if (whole.error)
        return;
    const bool fits = whole.content.size() <= limit;
    require(limited.error == (fits ? std::error_code() : ArchiveError::invalidEntrySize),
            "the limit decides");
    require(agree(limited.content, whole.content), "the limit changes no byte");
    require(entry.type() == EntryType::symlink || limited.checksum == 0,
            "a checksum that is skipped is 0");
}

/// To the disk goes what memory gets.
void requireOnDisk(const Archive &archive, const Entry &entry, const EntryOutcome &whole) {
    const fuzz::Folder folder;
    const auto path = folder / "item";
    std::error_code failure;
    try {
        const CRC32 checksum =
            archive.extract(entry, URL::file(path.string()), {.sizeLimit = entryLimit});
        require(whole.error || checksum == whole.checksum, "disk and memory have one checksum");
    } catch (const Error &error) {
        failure = error.code();
    }
    if (entry.type() != EntryType::file) // whose names and targets the system may refuse
        return;
    require(failure == whole.error, "disk and memory have one error");
    ::chmod(path.c_str(), 0600);
    const Data written{std::string_view(fuzz::readFile(path))};
    require(whole.error ? agree(written, whole.content) : written == whole.content,
            "disk and memory get the same bytes");
}

void compare(const Archive &archive, const Entry &entry, std::int64_t chunkSize,
             std::size_t limit) {
    const EntryOutcome whole = extract(archive, entry, {.sizeLimit = entryLimit});
    if (!whole.error)
        require(whole.checksum == fuzz::checksumOf(whole.content),
                "the checksum is that of the data");
    requireSame(whole, extract(archive, entry, {.bufferSize = chunkSize, .sizeLimit = entryLimit}));
    const std::size_t size = whole.content.size();
    for (const std::size_t each : {limit, size, size - std::min<std::size_t>(size, 1)})
        requireLimit(archive, entry, whole, each);
    requireOnDisk(archive, entry, whole);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Input input(data, size);
    const auto chunkSize = static_cast<std::int64_t>(1 + input.number());
    const std::size_t limit = input.number();
    const Bytes bytes = input.rest();
    const auto archive = Archive::make(Data(bytes), Archive::AccessMode::read);
    const auto directory = fuzz::readDirectory(bytes, maximumEntriesRead);
    if (!archive || !directory)
        return 0;
    std::size_t index = 0;
    for (const Entry &entry : *archive) {
        if (index == directory->members.size())
            break;
        compare(*archive, entry, chunkSize, limit);
        requireExpected(extract(*archive, entry, {.sizeLimit = entryLimit}), entry,
                        directory->members[index++], bytes);
    }
    return 0;
}

} // namespace vellomir::archive
