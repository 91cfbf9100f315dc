// Every record of the format: its fields are those that a second decoder finds, and what is parsed,
// written and parsed again is equal, byte by byte. Input: which record, then its bytes.

#include "archive/Records.h"
#include "fuzz/Directory.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <initializer_list>

namespace vellomir::archive {

using fuzz::Bytes;
using fuzz::number;
using fuzz::numberAt;
using fuzz::require;

namespace {

/// A field: its bytes in the format, and its parsed value.
struct ExpectedField {
    unsigned width;
    std::uint64_t parsed;
};

/// Ends the run unless the record's fixed bytes are these fields in this order.
void requireFields(Bytes bytes, std::size_t size, std::initializer_list<ExpectedField> fields) {
    unsigned offset = 0;
    for (const auto &[width, parsed] : fields) {
        require(numberAt(bytes, offset, width) == parsed, "a field has the value of its bytes");
        offset += width;
    }
    require(offset == size, "the record has the size of its fields");
}

/// Ends the run unless the variable part is where the lengths before it say.
void requireTail(Bytes bytes, std::size_t offset, std::size_t size, const Data &parsed) {
    const auto expected = fuzz::part(bytes, offset, size);
    require(expected && parsed == Data(*expected), "a variable part has its own bytes");
}

void decodeAgain(const LocalFileHeader &record, Bytes bytes) {
    requireFields(bytes, 30,
                  {{4, 0x04034b50},
                   {2, record.versionNeededToExtract},
                   {2, record.generalPurposeBitFlag},
                   {2, record.compressionMethod},
                   {2, record.lastModFileTime},
                   {2, record.lastModFileDate},
                   {4, record.crc32},
                   {4, record.compressedSize},
                   {4, record.uncompressedSize},
                   {2, record.fileNameLength},
                   {2, record.extraFieldLength}});
    requireTail(bytes, 30, record.fileNameLength, record.fileNameData);
    requireTail(bytes, 30U + record.fileNameLength, record.extraFieldLength, record.extraFieldData);
}

/// The ZIP64 field that the engine found is that which the second decoder finds.
void requireLargeValues(const CentralDirectoryStructure &record) {
    const auto expected = fuzz::largeValues(
        record.extraFieldData, record.uncompressedSize == maxUInt32,
        record.compressedSize == maxUInt32, record.relativeOffsetOfLocalHeader == maxUInt32,
        record.diskNumberStart == maxUInt16);
    const auto found = record.zip64ExtendedInformation();
    require(found.has_value() == expected.has_value(), "both decoders see the ZIP64 field");
    require(!found || (found->uncompressedSize == expected->uncompressedSize &&
                       found->compressedSize == expected->compressedSize &&
                       found->relativeOffsetOfLocalHeader == expected->offset &&
                       found->diskNumberStart == expected->disk),
            "both decoders read the same ZIP64 values");
}

void decodeAgain(const CentralDirectoryStructure &record, Bytes bytes) {
    requireFields(bytes, 46,
                  {{4, 0x02014b50},
                   {2, record.versionMadeBy},
                   {2, record.versionNeededToExtract},
                   {2, record.generalPurposeBitFlag},
                   {2, record.compressionMethod},
                   {2, record.lastModFileTime},
                   {2, record.lastModFileDate},
                   {4, record.crc32},
                   {4, record.compressedSize},
                   {4, record.uncompressedSize},
                   {2, record.fileNameLength},
                   {2, record.extraFieldLength},
                   {2, record.fileCommentLength},
                   {2, record.diskNumberStart},
                   {2, record.internalFileAttributes},
                   {4, record.externalFileAttributes},
                   {4, record.relativeOffsetOfLocalHeader}});
    const std::size_t extraStart = 46U + record.fileNameLength;
    requireTail(bytes, 46, record.fileNameLength, record.fileNameData);
    requireTail(bytes, extraStart, record.extraFieldLength, record.extraFieldData);
    requireTail(bytes, extraStart + record.extraFieldLength, record.fileCommentLength,
                record.fileCommentData);
    require(record.totalSize() == record.data().size(), "the size is that of the bytes");
    requireLargeValues(record);
}

/// The signature may be missing; then the record's last bytes are not its own.
template <class Size>
void decodeAgain(const BasicDataDescriptor<Size> &record, Bytes bytes) {
    const unsigned start = numberAt(bytes, 0, 4) == 0x08074b50 ? 4 : 0;
    constexpr unsigned width = sizeof(Size);
    require(numberAt(bytes, start, 4) == record.crc32 &&
                numberAt(bytes, start + 4, width) == record.compressedSize &&
                numberAt(bytes, start + 4 + width, width) == record.uncompressedSize,
            "a descriptor has the values of its bytes");
    require(record.data().size() == 8 + 2 * width, "a descriptor has the size of its fields");
}

void decodeAgain(const EndOfCentralDirectoryRecord &record, Bytes bytes) {
    requireFields(bytes, 22,
                  {{4, 0x06054b50},
                   {2, record.numberOfDisk},
                   {2, record.numberOfDiskStart},
                   {2, record.totalNumberOfEntriesOnDisk},
                   {2, record.totalNumberOfEntriesInCentralDirectory},
                   {4, record.sizeOfCentralDirectory},
                   {4, record.offsetToStartOfCentralDirectory},
                   {2, record.zipFileCommentLength}});
    requireTail(bytes, 22, record.zipFileCommentLength, record.zipFileCommentData);
}

void decodeAgain(const ZIP64EndOfCentralDirectoryRecord &record, Bytes bytes) {
    requireFields(bytes, 56,
                  {{4, 0x06064b50},
                   {8, record.sizeOfZIP64EndOfCentralDirectoryRecord},
                   {2, record.versionMadeBy},
                   {2, record.versionNeededToExtract},
                   {4, record.numberOfDisk},
                   {4, record.numberOfDiskStart},
                   {8, record.totalNumberOfEntriesOnDisk},
                   {8, record.totalNumberOfEntriesInCentralDirectory},
                   {8, record.sizeOfCentralDirectory},
                   {8, record.offsetToStartOfCentralDirectory}});
}

void decodeAgain(const ZIP64EndOfCentralDirectoryLocator &record, Bytes bytes) {
    requireFields(bytes, 20,
                  {{4, 0x07064b50},
                   {4, record.numberOfDiskWithZIP64EOCDRecordStart},
                   {8, record.relativeOffsetOfZIP64EOCDRecord},
                   {4, record.totalNumberOfDisk}});
}

/// Bytes of a whole record with so many fixed ones, whose lengths are at these offsets.
std::size_t wholeSize(Bytes bytes, std::size_t fixed, std::initializer_list<unsigned> lengths) {
    std::size_t size = fixed;
    for (const unsigned offset : lengths)
        size += static_cast<std::size_t>(number(bytes, offset, 2).value_or(0));
    return size;
}

/// Whether the bytes begin with such a record, all of it.
template <class Record>
bool isExpected(Bytes bytes) {
    const auto signature = number(bytes, 0, 4);
    if constexpr (std::is_same_v<Record, LocalFileHeader>)
        return signature == 0x04034b50 && bytes.size() >= wholeSize(bytes, 30, {26, 28});
    else if constexpr (std::is_same_v<Record, CentralDirectoryStructure>)
        return signature == 0x02014b50 && bytes.size() >= wholeSize(bytes, 46, {28, 30, 32});
    else if constexpr (std::is_same_v<Record, EndOfCentralDirectoryRecord>)
        return signature == 0x06054b50 && bytes.size() >= wholeSize(bytes, 22, {20});
    else if constexpr (std::is_same_v<Record, ZIP64EndOfCentralDirectoryRecord>)
        return signature == 0x06064b50 && bytes.size() >= 56 && numberAt(bytes, 14, 2) >= 45;
    else if constexpr (std::is_same_v<Record, ZIP64EndOfCentralDirectoryLocator>)
        return signature == 0x07064b50 && bytes.size() >= 20;
    else
        return bytes.size() >= Record::size;
}

template <DataSerializable Record>
std::optional<Record> parse(Bytes bytes) {
    Bytes rest = bytes.subspan(std::min(bytes.size(), Record::size));
    const auto provider = [&](std::size_t size) {
        const Bytes tail = rest.first(std::min(size, rest.size()));
        rest = rest.subspan(tail.size());
        return tail;
    };
    return Record::make(bytes.first(std::min(bytes.size(), Record::size)), provider);
}

template <DataSerializable Record>
void roundTrip(Bytes bytes) {
    const auto record = parse<Record>(bytes);
    require(record.has_value() == isExpected<Record>(bytes),
            "both decoders accept the same records");
    if (!record)
        return;
    decodeAgain(*record, bytes);
    const Data written = record->data();
    require(written.size() <= bytes.size(), "no more is written than was read");
    require(written == Data(bytes.first(written.size())), "the bytes are those that were read");
    require(parse<Record>(written) == record, "the record is that which was written");
}

ZIP64ExtendedInformation::Fields storedMembers(const ZIP64ExtendedInformation &information) {
    using Field = ZIP64ExtendedInformation::Field;
    ZIP64ExtendedInformation::Fields members;
    if (information.uncompressedSize > 0 || information.compressedSize > 0)
        members = {Field::uncompressedSize, Field::compressedSize};
    if (information.relativeOffsetOfLocalHeader > 0)
        members.push_back(Field::relativeOffsetOfLocalHeader);
    if (information.diskNumberStart > 0)
        members.push_back(Field::diskNumberStart);
    return members;
}

void roundTripZIP64Field(Bytes bytes) {
    if (bytes.empty())
        return;
    ZIP64ExtendedInformation::Fields fields;
    for (unsigned member = 0; member < 4; ++member)
        if ((std::to_integer<unsigned>(bytes.front()) >> member & 1U) != 0)
            fields.push_back(static_cast<ZIP64ExtendedInformation::Field>(member));
    const auto field = ZIP64ExtendedInformation::scanForZIP64Field(bytes.subspan(1), fields);
    const auto has = [&](ZIP64ExtendedInformation::Field member) {
        return std::find(fields.begin(), fields.end(), member) != fields.end();
    };
    using Member = ZIP64ExtendedInformation::Field;
    const auto expected = fuzz::largeValues(
        bytes.subspan(1), has(Member::uncompressedSize), has(Member::compressedSize),
        has(Member::relativeOffsetOfLocalHeader), has(Member::diskNumberStart));
    require(field.has_value() == expected.has_value(), "both decoders find the field");
    if (field)
        require(ZIP64ExtendedInformation::make(field->data(), storedMembers(*field)) == field,
                "the field is that which was written");
}

/// As when an entry is removed from before it.
void moveEntry(Bytes bytes) {
    const auto structure = parse<CentralDirectoryStructure>(bytes);
    if (!structure)
        return;
    std::optional<ZIP64ExtendedInformation> field = structure->zip64ExtendedInformation();
    if (field)
        field = ZIP64ExtendedInformation::from(*field, 4711);
    const auto moved = CentralDirectoryStructure::from(
        *structure, field, structure->relativeOffsetOfLocalHeader == maxUInt32 ? maxUInt32 : 4711U);
    require(parse<CentralDirectoryStructure>(moved.data()) == moved,
            "the record of an entry that moved can be read");
    require(moved.effectiveUncompressedSize() == structure->effectiveUncompressedSize() &&
                moved.effectiveCompressedSize() == structure->effectiveCompressedSize(),
            "an entry that moved keeps its sizes");
}

constexpr void (*targets[])(Bytes) = {
    roundTrip<LocalFileHeader>,
    roundTrip<CentralDirectoryStructure>,
    roundTrip<DataDescriptor>,
    roundTrip<ZIP64DataDescriptor>,
    roundTrip<EndOfCentralDirectoryRecord>,
    roundTrip<ZIP64EndOfCentralDirectoryRecord>,
    roundTrip<ZIP64EndOfCentralDirectoryLocator>,
    roundTripZIP64Field,
    moveEntry,
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size > 0)
        targets[data[0] % std::size(targets)](std::as_bytes(std::span(data + 1, size - 1)));
    return 0;
}

} // namespace vellomir::archive
