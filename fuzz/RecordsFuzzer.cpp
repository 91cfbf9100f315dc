// Every record of the format: what is parsed, written and parsed again is equal, byte by byte.
// Input: which record, then its bytes.

#include "archive/Records.h"
#include "fuzz/Require.h"

#include <algorithm>

using namespace archive;
using fuzz::require;

namespace {

using Bytes = std::span<const std::byte>;

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
    if (!record)
        return;
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
