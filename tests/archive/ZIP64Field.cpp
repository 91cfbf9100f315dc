// The ZIP64 field of records: reading, looking for it, writing, and moving an entry.

#include "archive/Records.h"
#include "tests/support/Hex.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>

namespace vellomir::archive {

using test::fromHex;
using test::hex;
using Field = ZIP64ExtendedInformation::Field;
using Fields = ZIP64ExtendedInformation::Fields;

namespace {

// Values that no two members share, and the bytes of each.
constexpr std::uint64_t uncompressed = 0x1817161514131211;
constexpr std::uint64_t compressed = 0x2827262524232221;
constexpr std::uint64_t offset = 0x3837363534333231;
constexpr std::uint32_t disk = 0x44434241;
const std::array<std::string, 4> memberBytes = {"1112131415161718", "2122232425262728",
                                                "3132333435363738", "41424344"};
constexpr std::array<Field, 4> allFields = {Field::uncompressedSize, Field::compressedSize,
                                            Field::relativeOffsetOfLocalHeader,
                                            Field::diskNumberStart};
constexpr unsigned combinations = 16;

bool has(unsigned combination, std::size_t member) {
    return ((combination >> member) & 1U) != 0;
}

Fields fields(unsigned combination) {
    Fields chosen;
    for (std::size_t member = 0; member < allFields.size(); ++member)
        if (has(combination, member))
            chosen.push_back(allFields[member]);
    return chosen;
}

/// An extra field: header id, length, content. The length may be one that does not fit.
Data extraField(const std::string &headerID, const std::string &content,
                std::optional<std::uint16_t> length = std::nullopt) {
    Data field = fromHex(headerID);
    const Data data = fromHex(content);
    field.appendValue(length.value_or(static_cast<std::uint16_t>(data.size())));
    field.append(data);
    return field;
}

std::string members(unsigned combination) {
    std::string content;
    for (std::size_t member = 0; member < memberBytes.size(); ++member)
        if (has(combination, member))
            content += memberBytes[member];
    return content;
}

Data zip64Field(unsigned combination) {
    return extraField("0100", members(combination));
}

Data joined(const Data &first, const Data &second) {
    Data both = first;
    both.append(second);
    return both;
}

/// Expects the values of these members, and 0 for the others.
void expectMembers(const ZIP64ExtendedInformation &information, unsigned combination) {
    EXPECT_EQ(information.headerID, 1);
    EXPECT_EQ(information.dataSize, members(combination).size() / 2);
    EXPECT_EQ(information.uncompressedSize, has(combination, 0) ? uncompressed : 0U);
    EXPECT_EQ(information.compressedSize, has(combination, 1) ? compressed : 0U);
    EXPECT_EQ(information.relativeOffsetOfLocalHeader, has(combination, 2) ? offset : 0U);
    EXPECT_EQ(information.diskNumberStart, has(combination, 3) ? disk : 0U);
}

template <class Record>
Record withTails(Record record, const Data &extraFieldData) {
    record.extraFieldData = extraFieldData;
    record.extraFieldLength = static_cast<std::uint16_t>(extraFieldData.size());
    return record;
}

/// The record as it is after writing and reading.
template <class Record>
Record reread(const Record &record) {
    const Data data = record.data();
    const auto tail = [&](std::size_t) { return data.bytes().subspan(Record::size); };
    const auto read = Record::make(data.bytes().first(Record::size), tail);
    EXPECT_TRUE(read);
    EXPECT_EQ(hex(read->data()), hex(data));
    return read.value_or(Record());
}

/// A record that refers to the ZIP64 field for these members.
CentralDirectoryStructure announcing(unsigned combination) {
    CentralDirectoryStructure record;
    record.versionNeededToExtract = 20;
    record.uncompressedSize = has(combination, 0) ? maxUInt32 : 10;
    record.compressedSize = has(combination, 1) ? maxUInt32 : 11;
    record.relativeOffsetOfLocalHeader = has(combination, 2) ? maxUInt32 : 12;
    record.diskNumberStart = has(combination, 3) ? maxUInt16 : 13;
    return record;
}

CentralDirectoryStructure directoryRecord(unsigned combination, const Data &extraFieldData) {
    return reread(withTails(announcing(combination), extraFieldData));
}

// --- The field itself -------------------------------------------------------------------------

TEST(ZIP64Field, HasOneHeaderID) {
    static_assert(ExtensibleDataField<ZIP64ExtendedInformation>);
    for (unsigned raw = 0; raw <= 0xFFFF; ++raw)
        EXPECT_EQ(makeExtraFieldHeaderID(static_cast<std::uint16_t>(raw)).has_value(), raw == 1);
    EXPECT_EQ(ZIP64ExtendedInformation::headerSize, 4U);
}

TEST(ZIP64Field, ReadsTheExpectedMembersInTheOrderOfTheFormat) {
    for (unsigned combination = 0; combination < combinations; ++combination) {
        SCOPED_TRACE(combination);
        const auto read =
            ZIP64ExtendedInformation::make(zip64Field(combination), fields(combination));
        ASSERT_TRUE(read);
        expectMembers(*read, combination);
        Fields reversed = fields(combination);
        std::reverse(reversed.begin(), reversed.end());
        EXPECT_EQ(ZIP64ExtendedInformation::make(zip64Field(combination), reversed), read);
    }
}

TEST(ZIP64Field, MustHoldExactlyTheExpectedMembers) {
    for (unsigned held = 0; held < combinations; ++held)
        for (unsigned expected = 0; expected < combinations; ++expected)
            EXPECT_EQ(
                ZIP64ExtendedInformation::make(zip64Field(held), fields(expected)).has_value(),
                members(held).size() == members(expected).size())
                << held << ' ' << expected;
}

TEST(ZIP64Field, IsAbsentIfShorterThanItsHeader) {
    for (std::size_t size = 0; size < 4; ++size)
        EXPECT_FALSE(ZIP64ExtendedInformation::make(Data(std::vector<std::byte>(size)), {}));
}

TEST(ZIP64Field, WritesBothSizesOrNone) {
    for (unsigned combination = 0; combination < combinations; ++combination) {
        ZIP64ExtendedInformation information;
        information.dataSize = 0x0605;
        information.uncompressedSize = has(combination, 0) ? uncompressed : 0;
        information.compressedSize = has(combination, 1) ? compressed : 0;
        information.relativeOffsetOfLocalHeader = has(combination, 2) ? offset : 0;
        information.diskNumberStart = has(combination, 3) ? disk : 0;
        const std::string zero(16, '0');
        std::string expected = "01000506";
        if (has(combination, 0) || has(combination, 1))
            expected += (has(combination, 0) ? memberBytes[0] : zero) +
                        (has(combination, 1) ? memberBytes[1] : zero);
        expected += members(combination & 0b1100U);
        EXPECT_EQ(hex(information.data()), expected) << combination;
    }
}

TEST(ZIP64Field, CopyHasAnotherOffset) {
    for (unsigned combination = 0; combination < combinations; ++combination) {
        SCOPED_TRACE(combination);
        auto field = ZIP64ExtendedInformation::make(zip64Field(combination), fields(combination));
        ASSERT_TRUE(field);
        for (const std::uint64_t moved : {std::uint64_t{0}, std::uint64_t{7}, offset - 1}) {
            auto copy = ZIP64ExtendedInformation::from(*field, moved);
            EXPECT_EQ(copy.relativeOffsetOfLocalHeader, moved);
            EXPECT_EQ(copy.uncompressedSize, field->uncompressedSize);
            EXPECT_EQ(copy.compressedSize, field->compressedSize);
            EXPECT_EQ(copy.diskNumberStart, field->diskNumberStart);
            EXPECT_EQ(copy.dataSize + 4U, copy.data().size()) << moved;
        }
    }
}

// --- Looking for it ---------------------------------------------------------------------------

TEST(ZIP64Lookup, FindsTheMembersThatTheDirectoryRecordNeeds) {
    for (unsigned combination = 0; combination < combinations; ++combination) {
        SCOPED_TRACE(combination);
        const auto record = directoryRecord(combination, zip64Field(combination));
        EXPECT_EQ(record.validFields(), fields(combination));
        EXPECT_EQ(record.isZIP64(), combination != 0);
        ASSERT_EQ(record.extraFields.has_value(), combination != 0);
        if (combination != 0) {
            ASSERT_EQ(record.extraFields->size(), 1U);
            expectMembers(record.extraFields->front(), combination);
            EXPECT_EQ(record.zip64ExtendedInformation(), record.extraFields->front());
        }
        EXPECT_EQ(record.effectiveUncompressedSize(), has(combination, 0) ? uncompressed : 10U);
        EXPECT_EQ(record.effectiveCompressedSize(), has(combination, 1) ? compressed : 11U);
        EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(),
                  has(combination, 2) ? offset : 12U);
    }
}

TEST(ZIP64Lookup, IgnoresAFieldOfAnotherLength) {
    for (unsigned held = 0; held < combinations; ++held)
        for (unsigned announced = 1; announced < combinations; ++announced) {
            if (members(held).size() == members(announced).size())
                continue;
            const auto record = directoryRecord(announced, zip64Field(held));
            EXPECT_FALSE(record.extraFields) << held << ' ' << announced;
            EXPECT_FALSE(record.isZIP64());
            EXPECT_EQ(record.effectiveUncompressedSize(), record.uncompressedSize);
            EXPECT_EQ(record.effectiveCompressedSize(), record.compressedSize);
            EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(),
                      record.relativeOffsetOfLocalHeader);
        }
}

TEST(ZIP64Lookup, FindsOnlySizesInALocalHeader) {
    for (unsigned combination = 0; combination < 4; ++combination) {
        SCOPED_TRACE(combination);
        LocalFileHeader header;
        header.uncompressedSize = has(combination, 0) ? maxUInt32 : 10;
        header.compressedSize = has(combination, 1) ? maxUInt32 : 11;
        const auto read = reread(withTails(header, zip64Field(combination)));
        EXPECT_EQ(read.validFields(), fields(combination));
        ASSERT_EQ(read.extraFields.has_value(), combination != 0);
        if (combination != 0)
            expectMembers(read.extraFields->front(), combination);
        EXPECT_FALSE(reread(withTails(header, zip64Field(combination | 0b0100U))).extraFields);
    }
}

TEST(ZIP64Lookup, ShortFieldIsNotUsed) {
    LocalFileHeader header;
    header.uncompressedSize = header.compressedSize = maxUInt32;
    const auto whole = reread(withTails(header, extraField("0100", members(0b0011))));
    ASSERT_TRUE(whole.extraFields);
    EXPECT_EQ(whole.extraFields->front().uncompressedSize, uncompressed);
    EXPECT_EQ(whole.extraFields->front().compressedSize, compressed);
    const auto shorter = reread(withTails(header, extraField("0100", members(0b0001))));
    EXPECT_FALSE(shorter.extraFields);
    EXPECT_EQ(shorter.uncompressedSize, 0xFFFFFFFFU);
    EXPECT_EQ(shorter.compressedSize, 0xFFFFFFFFU);
}

TEST(ZIP64Lookup, OffsetAloneNeedsEightBytes) {
    const auto record = directoryRecord(0b0100, extraField("0100", memberBytes[2]));
    EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(), offset);
    EXPECT_EQ(record.effectiveCompressedSize(), 11U);
    for (const char *content : {"31323334", "31323334353637", "313233343536373839"}) {
        const auto other = directoryRecord(0b0100, extraField("0100", content));
        EXPECT_FALSE(other.extraFields) << content;
        EXPECT_EQ(other.effectiveRelativeOffsetOfLocalHeader(), 0xFFFFFFFFU);
    }
}

TEST(ZIP64Lookup, SkipsOtherFields) {
    const Data zip64 = zip64Field(0b0011);
    const Data time = extraField("5554", "0311223344");
    const Data empty = extraField("FECA", "");
    const Data decoy = extraField("7A79", "01001000" + members(0b0011)); // one inside another
    for (const Data &first : {time, empty, decoy, joined(time, empty), joined(decoy, time)}) {
        EXPECT_EQ(directoryRecord(0b0011, joined(first, zip64)).effectiveCompressedSize(),
                  compressed);
        EXPECT_EQ(directoryRecord(0b0011, joined(zip64, first)).effectiveCompressedSize(),
                  compressed);
        EXPECT_FALSE(directoryRecord(0b0011, first).extraFields);
    }
}

TEST(ZIP64Lookup, FirstFieldDecides) {
    const Data wrong = extraField("0100", members(0b0001));
    EXPECT_FALSE(directoryRecord(0b0011, joined(wrong, zip64Field(0b0011))).extraFields);
    EXPECT_TRUE(directoryRecord(0b0011, joined(zip64Field(0b0011), wrong)).extraFields);
}

TEST(ZIP64Lookup, StopsAtAFieldThatIsCutShort) {
    const Data zip64 = zip64Field(0b0011);
    for (std::size_t size = 0; size < zip64.size(); ++size) {
        const Data part(zip64.bytes().first(size));
        EXPECT_FALSE(directoryRecord(0b0011, part).extraFields) << size;
    }
    const Data tooLong = extraField("5554", "0311", 100);
    EXPECT_FALSE(directoryRecord(0b0011, joined(tooLong, zip64)).extraFields);
    EXPECT_FALSE(directoryRecord(0b0011, extraField("0100", members(0b0011), 17)).extraFields);
    EXPECT_TRUE(directoryRecord(0b0011, joined(zip64, fromHex("55 54 09"))).extraFields);
}

TEST(ZIP64Lookup, NeedsAnExpectation) {
    EXPECT_FALSE(ZIP64ExtendedInformation::scanForZIP64Field(zip64Field(0), {}));
    EXPECT_FALSE(ZIP64ExtendedInformation::scanForZIP64Field({}, fields(1)));
    EXPECT_TRUE(ZIP64ExtendedInformation::scanForZIP64Field(zip64Field(1), fields(1)));
}

// --- What it means ----------------------------------------------------------------------------

TEST(IsZIP64, DependsOnTheLowByteOfTheVersion) {
    for (const unsigned version : {0x0000U, 0x0014U, 0x002CU, 0x002DU, 0x002EU, 0x00FFU, 0x0100U,
                                   0x012CU, 0x012DU, 0x2D00U, 0xFFFFU}) {
        CentralDirectoryStructure record;
        record.versionNeededToExtract = static_cast<std::uint16_t>(version);
        EXPECT_EQ(record.isZIP64(), (version & 0xFFU) >= 45) << version;
    }
}

TEST(IsZIP64, HoldsForAnUnderdeclaredVersionWithTheField) {
    auto record = announcing(0b0001);
    record.versionNeededToExtract = 0x002C;
    EXPECT_FALSE(record.isZIP64());
    EXPECT_TRUE(reread(withTails(record, zip64Field(0b0001))).isZIP64());
}

TEST(EffectiveValues, AreThe32BitOnesWhereTheFieldHoldsZero) {
    const std::string zero(16, '0');
    const auto record = directoryRecord(0b0111, extraField("0100", zero + zero + zero));
    ASSERT_TRUE(record.extraFields);
    EXPECT_TRUE(record.isZIP64());
    EXPECT_EQ(record.effectiveUncompressedSize(), 0xFFFFFFFFU);
    EXPECT_EQ(record.effectiveCompressedSize(), 0xFFFFFFFFU);
    EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(), 0xFFFFFFFFU);
    const auto one = directoryRecord(0b0001, extraField("0100", "0100000000000000"));
    EXPECT_EQ(one.effectiveUncompressedSize(), 1U);
}

TEST(Flags, AreBits0And3And11) {
    for (unsigned bit = 0; bit < 16; ++bit) {
        CentralDirectoryStructure record;
        record.generalPurposeBitFlag = static_cast<std::uint16_t>(1U << bit);
        EXPECT_EQ(record.isEncrypted(), bit == 0) << bit;
        EXPECT_EQ(record.usesDataDescriptor(), bit == 3) << bit;
        EXPECT_EQ(record.usesUTF8PathEncoding(), bit == 11) << bit;
    }
}

// --- Records of entries that moved -------------------------------------------------------------

/// The record after a move: the 32-bit offset is the new one where it fits.
CentralDirectoryStructure moved(const CentralDirectoryStructure &record, std::uint64_t to) {
    std::optional<ZIP64ExtendedInformation> field = record.zip64ExtendedInformation();
    if (field)
        field = ZIP64ExtendedInformation::from(*field, to);
    return CentralDirectoryStructure::from(
        record, field,
        to >= maxOffsetOfLocalFileHeader ? maxUInt32 : static_cast<std::uint32_t>(to));
}

void expectSameButFor(const CentralDirectoryStructure &record,
                      const CentralDirectoryStructure &original, std::uint64_t expectedOffset) {
    EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(), expectedOffset);
    EXPECT_EQ(record.effectiveUncompressedSize(), original.effectiveUncompressedSize());
    EXPECT_EQ(record.effectiveCompressedSize(), original.effectiveCompressedSize());
    EXPECT_EQ(record.extraFieldLength, record.extraFieldData.size());
}

TEST(MovedRecord, HasTheNewOffset) {
    const Data others = joined(extraField("5554", "0311223344"), extraField("FECA", ""));
    for (unsigned combination = 0; combination < combinations; ++combination)
        for (const std::uint64_t to : {std::uint64_t{0}, std::uint64_t{7}, offset - 1}) {
            SCOPED_TRACE(std::to_string(combination) + " to " + std::to_string(to));
            if (to > maxUInt32 && !has(combination, 2))
                continue; // offsets only shrink
            const auto original =
                directoryRecord(combination, joined(others, zip64Field(combination)));
            const auto record = moved(original, to);
            expectSameButFor(record, original, to);
            expectSameButFor(reread(record), original, to);
            EXPECT_EQ(reread(record), record);
            EXPECT_THAT(hex(record.extraFieldData), testing::HasSubstr(hex(others)));
        }
}

TEST(MovedRecord, WithoutAFieldKeepsItsExtraFields) {
    const auto original = directoryRecord(0, extraField("5554", "0311223344"));
    auto expected = original;
    expected.relativeOffsetOfLocalHeader = 7;
    EXPECT_EQ(moved(original, 7), expected);
}

TEST(MovedRecord, KeepsBytesThatAreNoField) {
    const Data broken = joined(zip64Field(0b0001), fromHex("55 54 09"));
    const auto record = moved(directoryRecord(0b0001, broken), 7);
    EXPECT_EQ(hex(record.extraFieldData), hex(broken));
}

} // namespace

} // namespace vellomir::archive
