#include "fuzz/Directory.h"

#include "fuzz/Require.h"

#include <algorithm>
#include <limits>

namespace vellomir::fuzz {
namespace {

constexpr std::uint64_t greatest = std::numeric_limits<std::uint64_t>::max();

/// The sum, or the greatest number if it does not fit.
std::uint64_t sum(std::uint64_t left, std::uint64_t right) {
    return right > greatest - left ? greatest : left + right;
}

bool hasSignature(Bytes bytes, std::uint64_t offset, std::uint32_t signature) {
    return number(bytes, offset, 4) == signature;
}

/// The last place that can hold an end record.
std::optional<std::uint64_t> endRecordOffset(Bytes archive) {
    for (std::uint64_t end = archive.size() + 1; end > 22; --end)
        if (hasSignature(archive, end - 23, 0x06054b50))
            return end - 23;
    return std::nullopt;
}

/// The 56 bytes of the ZIP64 end record, if it and its locator are right before the end record.
std::optional<Bytes> largeEndRecord(Bytes archive, std::uint64_t end) {
    if (end <= 76 || !hasSignature(archive, end - 20, 0x07064b50) ||
        !hasSignature(archive, end - 76, 0x06064b50) || numberAt(archive, end - 76 + 14, 2) < 45)
        return std::nullopt;
    return archive.subspan(static_cast<std::size_t>(end - 76), 56);
}

/// A value of the directory's record, or that of the ZIP64 field if it is above 0.
std::uint64_t effective(std::uint64_t narrow, const std::optional<LargeValues> &values,
                        std::uint64_t LargeValues::*large) {
    return values && *values.*large > 0 ? *values.*large : narrow;
}

std::optional<Bytes> wholeRecord(Bytes archive, std::uint64_t offset) {
    if (!hasSignature(archive, offset, 0x02014b50) || !part(archive, offset, 46))
        return std::nullopt;
    return part(archive, offset,
                46 + numberAt(archive, offset + 28, 2) + numberAt(archive, offset + 30, 2) +
                    numberAt(archive, offset + 32, 2));
}

std::optional<Bytes> wholeLocalHeader(Bytes archive, std::uint64_t offset) {
    if (!hasSignature(archive, offset, 0x04034b50) || !part(archive, offset, 30))
        return std::nullopt;
    return part(archive, offset,
                30 + numberAt(archive, offset + 26, 2) + numberAt(archive, offset + 28, 2));
}

/// What the directory alone says.
Member memberOf(Bytes record) {
    const std::uint64_t nameLength = numberAt(record, 28, 2);
    const std::uint64_t stored = numberAt(record, 20, 4);
    const std::uint64_t plain = numberAt(record, 24, 4);
    const std::uint64_t offset = numberAt(record, 42, 4);
    constexpr std::uint64_t sentinel = 0xFFFFFFFF;
    const auto extra = record.subspan(static_cast<std::size_t>(46 + nameLength),
                                      static_cast<std::size_t>(numberAt(record, 30, 2)));
    const auto large = largeValues(extra, plain == sentinel, stored == sentinel, offset == sentinel,
                                   numberAt(record, 34, 2) == 0xFFFF);
    Member member;
    member.record = record;
    member.name = record.subspan(46, static_cast<std::size_t>(nameLength));
    member.isZIP64 = large || numberAt(record, 6, 1) >= 45;
    member.headerOffset = effective(offset, large, &LargeValues::offset);
    member.storedSize = effective(stored, large, &LargeValues::compressedSize);
    member.plainSize = effective(plain, large, &LargeValues::uncompressedSize);
    return member;
}

/// Size of the descriptor's numbers, or 0 if there is no descriptor.
unsigned readDescriptor(Bytes archive, Member &member) {
    member.checksum = static_cast<std::uint32_t>(numberAt(member.record, 16, 4));
    member.compressedSize = member.storedSize;
    member.uncompressedSize = member.plainSize;
    if ((numberAt(member.record, 8, 2) & 8U) == 0)
        return 0;
    const bool isStored = numberAt(member.record, 10, 2) == 0;
    const std::uint64_t offset =
        sum(member.dataOffset, isStored ? member.plainSize : member.storedSize);
    const unsigned width = member.isZIP64 ? 8 : 4;
    const auto descriptor = part(archive, offset, 8 + 2 * width);
    member.checksum = 0;
    if (!descriptor)
        return 0;
    const unsigned start = hasSignature(*descriptor, 0, 0x08074b50) ? 4 : 0;
    member.checksum = static_cast<std::uint32_t>(numberAt(*descriptor, start, 4));
    member.compressedSize = numberAt(*descriptor, start + 4, width);
    member.uncompressedSize = numberAt(*descriptor, start + 4 + width, width);
    return width;
}

/// What the local header and the descriptor add.
void readLocalPart(Bytes archive, Member &member) {
    member.dataOffset = sum(member.headerOffset, member.localHeader.size());
    member.localMethod = static_cast<unsigned>(numberAt(member.localHeader, 8, 2));
    const unsigned width = readDescriptor(archive, member);
    const std::uint64_t descriptorSize = width == 0 ? 0 : 8 + 2 * width;
    member.localSize =
        sum(member.localHeader.size() + descriptorSize,
            member.localMethod != 0 ? member.compressedSize : member.uncompressedSize);
}

void readMembers(Bytes archive, std::size_t limit, Directory &directory) {
    std::uint64_t position = directory.offset;
    for (std::uint64_t index = 0; index < directory.count && index < limit; ++index) {
        const auto record = wholeRecord(archive, position);
        directory.end = Directory::End::damagedRecord;
        if (!record)
            return;
        Member member = memberOf(*record);
        const auto header = wholeLocalHeader(archive, member.headerOffset);
        directory.end = Directory::End::damagedLocalHeader;
        if (!header)
            return;
        member.localHeader = *header;
        readLocalPart(archive, member);
        directory.end = Directory::End::encryptedEntry;
        if ((numberAt(*record, 8, 2) & 1U) != 0)
            return;
        directory.end = Directory::End::complete;
        directory.members.push_back(member);
        position += record->size();
    }
}

} // namespace

std::optional<Bytes> part(Bytes bytes, std::uint64_t offset, std::uint64_t size) {
    if (offset > bytes.size() || size > bytes.size() - offset)
        return std::nullopt;
    return bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
}

std::optional<std::uint64_t> number(Bytes bytes, std::uint64_t offset, unsigned width) {
    const auto found = part(bytes, offset, width);
    if (!found)
        return std::nullopt;
    std::uint64_t value = 0;
    for (unsigned index = 0; index < width; ++index)
        value |= std::to_integer<std::uint64_t>((*found)[index]) << (8 * index);
    return value;
}

std::uint64_t numberAt(Bytes bytes, std::uint64_t offset, unsigned width) {
    const auto value = number(bytes, offset, width);
    require(value.has_value(), "a fuzzer reads no bytes that are not there");
    return value.value_or(0);
}

std::optional<LargeValues> largeValues(Bytes extra, bool hasUncompressedSize,
                                       bool hasCompressedSize, bool hasOffset, bool hasDisk) {
    const std::uint64_t expected = 8U * (hasUncompressedSize ? 1U : 0U) +
                                   8U * (hasCompressedSize ? 1U : 0U) + 8U * (hasOffset ? 1U : 0U) +
                                   4U * (hasDisk ? 1U : 0U);
    std::uint64_t start = 0;
    while (number(extra, start, 4) && number(extra, start, 2) != 1)
        start += 4 + numberAt(extra, start + 2, 2);
    const auto length = number(extra, start + 2, 2);
    const auto field = length ? part(extra, start + 4, *length) : std::nullopt;
    if (!field || expected == 0 || field->size() != expected)
        return std::nullopt;
    LargeValues values;
    std::uint64_t place = 0;
    const auto take = [&](bool isThere, unsigned width) {
        const std::uint64_t value = isThere ? numberAt(*field, place, width) : 0;
        place += isThere ? width : 0;
        return value;
    };
    values.uncompressedSize = take(hasUncompressedSize, 8);
    values.compressedSize = take(hasCompressedSize, 8);
    values.offset = take(hasOffset, 8);
    values.disk = static_cast<std::uint32_t>(take(hasDisk, 4));
    return values;
}

std::optional<Directory> readDirectory(Bytes archive, std::size_t limit) {
    const auto end = endRecordOffset(archive);
    if (!end || !part(archive, *end, 22 + numberAt(archive, *end + 20, 2)))
        return std::nullopt;
    const auto large = largeEndRecord(archive, *end);
    const Bytes record = large.value_or(archive.subspan(static_cast<std::size_t>(*end), 22));
    Directory directory;
    directory.count = large ? numberAt(record, 32, 8) : numberAt(record, 10, 2);
    directory.size = large ? numberAt(record, 40, 8) : numberAt(record, 12, 4);
    directory.offset = large ? numberAt(record, 48, 8) : numberAt(record, 16, 4);
    readMembers(archive, limit, directory);
    return directory;
}

} // namespace vellomir::fuzz
