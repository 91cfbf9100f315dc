#include "archive/Records.h"

#include "archive/Archive.h"
#include "archive/MemoryFile.h"
#include "tests/support/Hex.h"

#include <gmock/gmock.h>

#include <functional>

namespace vellomir::archive {

using test::fromHex;
using test::hex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Provides bytes, and records the sizes asked for.
struct TailSource {
    Data data;
    std::vector<std::size_t> calls = {};

    AdditionalDataProvider provider() {
        return [this](std::size_t size) {
            calls.push_back(size);
            return std::as_const(data).bytes();
        };
    }
};

/// The record at the start of the bytes, its tail being all the rest.
template <class Record>
std::optional<Record> parse(const Data &data) {
    TailSource tail{Data(data.bytes().subspan(Record::size))};
    return Record::make(data.bytes().first(Record::size), tail.provider());
}

// --- One record of each kind, by hand: no two fields hold the same ---------------------------

template <class Record>
struct Sample;

template <>
struct Sample<LocalFileHeader> {
    static Data data() {
        return fromHex("50 4B 03 04"
                       "14 01  02 08  08 00  3D 6B  21 5A" // versions, flags, method, time, date
                       "78 56 34 12  05 11 00 00  09 22 00 00" // checksum, sizes
                       "03 00  04 00"                          // lengths
                       "61 2F 62  99 AA 00 00");
    }
    static constexpr std::size_t lengthBytes = 4;
};

template <>
struct Sample<CentralDirectoryStructure> {
    static Data data() {
        return fromHex("50 4B 01 02"
                       "15 03  14 01  02 08  08 00  3D 6B  21 5A"
                       "78 56 34 12  05 11 00 00  09 22 00 00"
                       "03 00  04 00  02 00" // lengths
                       "07 00  01 00  00 80 A4 81  44 33 22 11"
                       "61 2F 62  99 AA 00 00  68 69");
    }
    static constexpr std::size_t lengthBytes = 6;
};

template <>
struct Sample<EndOfCentralDirectoryRecord> {
    static Data data() {
        return fromHex("50 4B 05 06"
                       "01 02  03 04  05 06  07 08  09 0A 0B 0C  0D 0E 0F 10  05 00"
                       "68 65 6C 6C 6F");
    }
    static constexpr std::size_t lengthBytes = 2;
};

template <>
struct Sample<ZIP64EndOfCentralDirectoryRecord> {
    static Data data() {
        return fromHex("50 4B 06 06  2C 00 00 00 00 00 00 00"
                       "15 03  2D 00  01 02 03 04  05 06 07 08"
                       "11 12 13 14 15 16 17 18  21 22 23 24 25 26 27 28"
                       "31 32 33 34 35 36 37 38  41 42 43 44 45 46 47 48");
    }
    static constexpr std::size_t lengthBytes = 0;
};

template <>
struct Sample<ZIP64EndOfCentralDirectoryLocator> {
    static Data data() {
        return fromHex("50 4B 06 07  01 02 03 04  11 12 13 14 15 16 17 18  05 06 07 08");
    }
    static constexpr std::size_t lengthBytes = 0;
};

// --- What holds for every record --------------------------------------------------------------

template <class Record>
class EveryRecord : public testing::Test {
protected:
    Data data_ = Sample<Record>::data();
    Data fixed_ = Data(std::as_const(data_).bytes().first(Record::size));
    Data tail_ = Data(std::as_const(data_).bytes().subspan(Record::size));
};

using Records =
    testing::Types<LocalFileHeader, CentralDirectoryStructure, EndOfCentralDirectoryRecord,
                   ZIP64EndOfCentralDirectoryRecord, ZIP64EndOfCentralDirectoryLocator>;
TYPED_TEST_SUITE(EveryRecord, Records);

TYPED_TEST(EveryRecord, NeedsItsExactSize) {
    for (std::size_t size = 0; size < TypeParam::size + 9; ++size) {
        Data data = this->fixed_;
        data.resize(size);
        TailSource tail{this->tail_};
        EXPECT_EQ(TypeParam::make(data, tail.provider()).has_value(), size == TypeParam::size)
            << size;
    }
}

TYPED_TEST(EveryRecord, NeedsItsSignature) {
    for (unsigned bit = 0; bit < 32; ++bit) {
        Data data = this->data_;
        data.bytes()[bit / 8] ^= std::byte{1} << (bit % 8);
        EXPECT_FALSE(parse<TypeParam>(data)) << bit;
    }
}

TYPED_TEST(EveryRecord, KeepsEveryByteOfItsFields) {
    static_assert(DataSerializable<TypeParam>);
    const auto original = parse<TypeParam>(this->data_);
    ASSERT_TRUE(original);
    EXPECT_EQ(hex(original->data()), hex(this->data_));
    EXPECT_EQ(parse<TypeParam>(original->data()), original);
    std::size_t lengthBytes = 0; // a tail of another length is not there
    for (std::size_t index = 4; index < TypeParam::size; ++index) {
        Data data = this->data_;
        data.bytes()[index] ^= std::byte{0x10};
        const auto record = parse<TypeParam>(data);
        if (!record) {
            ++lengthBytes;
            continue;
        }
        EXPECT_EQ(hex(record->data()), hex(data)) << index;
        EXPECT_NE(record, original) << index;
    }
    EXPECT_EQ(lengthBytes, Sample<TypeParam>::lengthBytes);
}

TYPED_TEST(EveryRecord, ReadsItsTailAtOnce) {
    TailSource tail{this->tail_};
    const auto record = TypeParam::make(this->fixed_, tail.provider());
    ASSERT_TRUE(record);
    for (std::byte &byte : tail.data.bytes())
        byte = std::byte{0};
    EXPECT_EQ(hex(record->data()), hex(this->data_)) << "it owns the tail";
    if (Sample<TypeParam>::lengthBytes > 0)
        EXPECT_THAT(tail.calls, ElementsAre(this->tail_.size()));
    else
        EXPECT_THAT(tail.calls, IsEmpty());
}

TYPED_TEST(EveryRecord, NeedsTheWholeTail) {
    if (Sample<TypeParam>::lengthBytes == 0)
        return;
    for (std::size_t size = 0; size < this->tail_.size() + 3; ++size) {
        TailSource tail{this->tail_};
        tail.data.resize(size);
        EXPECT_EQ(TypeParam::make(this->fixed_, tail.provider()).has_value(),
                  size == this->tail_.size())
            << size;
    }
}

TYPED_TEST(EveryRecord, IsAbsentIfTheProviderThrows) {
    if (Sample<TypeParam>::lengthBytes == 0)
        return;
    const AdditionalDataProvider failing[] = {
        [](std::size_t) -> std::span<const std::byte> {
            throw Error(Data::DataError::unreadableFile);
        },
        [](std::size_t) -> std::span<const std::byte> { throw std::runtime_error("no"); },
        [](std::size_t) -> std::span<const std::byte> { throw 42; },
        nullptr,
    };
    for (const auto &provider : failing)
        EXPECT_NO_THROW(EXPECT_FALSE(TypeParam::make(this->fixed_, provider)));
}

TYPED_TEST(EveryRecord, IsReadFromAStream) {
    Data file(std::string_view("in front"));
    const std::size_t offset = file.size();
    file.append(this->data_);
    file.append(Data(std::string_view("behind")));
    const Archive::FilePointer stream(MemoryFile::make(file)->open("r"));
    EXPECT_EQ(Data::readStruct<TypeParam>(stream.get(), offset), parse<TypeParam>(this->data_));
    EXPECT_FALSE(Data::readStruct<TypeParam>(stream.get(), offset - 1));
}

/// The record of the sample.
template <class Record>
Record sample() {
    return parse<Record>(Sample<Record>::data()).value();
}

// --- The fields -------------------------------------------------------------------------------

TEST(LocalFileHeaderFields, HaveTheirOffsets) {
    const auto header = sample<LocalFileHeader>();
    EXPECT_EQ(header.localFileHeaderSignature, 0x04034b50U);
    EXPECT_EQ(header.versionNeededToExtract, 0x0114);
    EXPECT_EQ(header.generalPurposeBitFlag, 0x0802);
    EXPECT_EQ(header.compressionMethod, 8);
    EXPECT_EQ(header.lastModFileTime, 0x6B3D);
    EXPECT_EQ(header.lastModFileDate, 0x5A21);
    EXPECT_EQ(header.crc32, 0x12345678U);
    EXPECT_EQ(header.compressedSize, 0x1105U);
    EXPECT_EQ(header.uncompressedSize, 0x2209U);
    EXPECT_EQ(header.fileNameLength, 3);
    EXPECT_EQ(header.extraFieldLength, 4);
    EXPECT_EQ(header.fileNameData.text(), "a/b");
    EXPECT_EQ(hex(header.extraFieldData), "99aa0000");
    EXPECT_FALSE(header.extraFields);
}

TEST(CentralDirectoryFields, HaveTheirOffsets) {
    const auto record = sample<CentralDirectoryStructure>();
    EXPECT_EQ(record.centralDirectorySignature, 0x02014b50U);
    EXPECT_EQ(record.versionMadeBy, 0x0315);
    EXPECT_EQ(record.versionNeededToExtract, 0x0114);
    EXPECT_EQ(record.generalPurposeBitFlag, 0x0802);
    EXPECT_EQ(record.compressionMethod, 8);
    EXPECT_EQ(record.lastModFileTime, 0x6B3D);
    EXPECT_EQ(record.lastModFileDate, 0x5A21);
    EXPECT_EQ(record.crc32, 0x12345678U);
    EXPECT_EQ(record.compressedSize, 0x1105U);
    EXPECT_EQ(record.uncompressedSize, 0x2209U);
    EXPECT_EQ(record.diskNumberStart, 7);
    EXPECT_EQ(record.internalFileAttributes, 1);
    EXPECT_EQ(record.externalFileAttributes, 0x81A48000U);
    EXPECT_EQ(record.relativeOffsetOfLocalHeader, 0x11223344U);
    EXPECT_EQ(record.fileNameData.text(), "a/b");
    EXPECT_EQ(hex(record.extraFieldData), "99aa0000");
    EXPECT_EQ(record.fileCommentData.text(), "hi");
    EXPECT_FALSE(record.extraFields);
    EXPECT_EQ(record.totalSize(), 46U + 3 + 4 + 2);
}

TEST(EndOfCentralDirectoryFields, HaveTheirOffsets) {
    const auto record = sample<EndOfCentralDirectoryRecord>();
    EXPECT_EQ(record.endOfCentralDirectorySignature, 0x06054b50U);
    EXPECT_EQ(record.numberOfDisk, 0x0201);
    EXPECT_EQ(record.numberOfDiskStart, 0x0403);
    EXPECT_EQ(record.totalNumberOfEntriesOnDisk, 0x0605);
    EXPECT_EQ(record.totalNumberOfEntriesInCentralDirectory, 0x0807);
    EXPECT_EQ(record.sizeOfCentralDirectory, 0x0C0B0A09U);
    EXPECT_EQ(record.offsetToStartOfCentralDirectory, 0x100F0E0DU);
    EXPECT_EQ(record.zipFileCommentLength, 5);
    EXPECT_EQ(record.zipFileCommentData.text(), "hello");
}

TEST(EndOfCentralDirectoryFields, CommentLongerThanTheFileIsNoRecord) {
    Data file = Sample<EndOfCentralDirectoryRecord>::data();
    file.resize(file.size() - 1);
    const Archive::FilePointer stream(MemoryFile::make(file)->open("r"));
    EXPECT_FALSE(Data::readStruct<EndOfCentralDirectoryRecord>(stream.get(), 0));
}

TEST(ZIP64EndOfCentralDirectoryFields, HaveTheirOffsets) {
    const auto record = sample<ZIP64EndOfCentralDirectoryRecord>();
    EXPECT_EQ(record.zip64EOCDRecordSignature, 0x06064b50U);
    EXPECT_EQ(record.sizeOfZIP64EndOfCentralDirectoryRecord, 44U);
    EXPECT_EQ(record.versionMadeBy, 0x0315);
    EXPECT_EQ(record.versionNeededToExtract, 45);
    EXPECT_EQ(record.numberOfDisk, 0x04030201U);
    EXPECT_EQ(record.numberOfDiskStart, 0x08070605U);
    EXPECT_EQ(record.totalNumberOfEntriesOnDisk, 0x1817161514131211U);
    EXPECT_EQ(record.totalNumberOfEntriesInCentralDirectory, 0x2827262524232221U);
    EXPECT_EQ(record.sizeOfCentralDirectory, 0x3837363534333231U);
    EXPECT_EQ(record.offsetToStartOfCentralDirectory, 0x4847464544434241U);
    EXPECT_THAT(record.zip64ExtensibleDataSector, IsEmpty());
}

TEST(ZIP64EndOfCentralDirectoryFields, NeedVersion45) {
    for (const unsigned version : {0U, 20U, 44U, 45U, 62U, 0x0114U, 0xFFFFU}) {
        Data data = Sample<ZIP64EndOfCentralDirectoryRecord>::data();
        data.bytes()[14] = static_cast<std::byte>(version & 0xFFU);
        data.bytes()[15] = static_cast<std::byte>(version >> 8U);
        EXPECT_EQ(parse<ZIP64EndOfCentralDirectoryRecord>(data).has_value(), version >= 45)
            << version;
    }
}

TEST(ZIP64EndOfCentralDirectoryFields, DoNotReadTheExtensibleSector) {
    Data file = Sample<ZIP64EndOfCentralDirectoryRecord>::data();
    file.bytes()[4] = std::byte{44 + 6};
    file.append(Data(std::string_view("sector")));
    const Archive::FilePointer stream(MemoryFile::make(file)->open("r"));
    const auto record = Data::readStruct<ZIP64EndOfCentralDirectoryRecord>(stream.get(), 0);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->sizeOfZIP64EndOfCentralDirectoryRecord, 50U);
    EXPECT_TRUE(record->zip64ExtensibleDataSector.empty());
}

TEST(ZIP64EndOfCentralDirectoryFields, WriteTheExtensibleSector) {
    auto record = sample<ZIP64EndOfCentralDirectoryRecord>();
    record.zip64ExtensibleDataSector = Data(std::string_view("sector"));
    EXPECT_EQ(hex(record.data()), hex(Sample<ZIP64EndOfCentralDirectoryRecord>::data()) +
                                      hex(Data(std::string_view("sector"))));
}

TEST(ZIP64LocatorFields, HaveTheirOffsets) {
    const auto locator = sample<ZIP64EndOfCentralDirectoryLocator>();
    EXPECT_EQ(locator.zip64EOCDLocatorSignature, 0x07064b50U);
    EXPECT_EQ(locator.numberOfDiskWithZIP64EOCDRecordStart, 0x04030201U);
    EXPECT_EQ(locator.relativeOffsetOfZIP64EOCDRecord, 0x1817161514131211U);
    EXPECT_EQ(locator.totalNumberOfDisk, 0x08070605U);
}

TEST(ZIP64EndOfCentralDirectoryPair, IsTheRecordAndThenTheLocator) {
    const Data record = Sample<ZIP64EndOfCentralDirectoryRecord>::data();
    const Data locator = Sample<ZIP64EndOfCentralDirectoryLocator>::data();
    const ZIP64EndOfCentralDirectory pair{sample<ZIP64EndOfCentralDirectoryRecord>(),
                                          sample<ZIP64EndOfCentralDirectoryLocator>()};
    EXPECT_EQ(hex(pair.data()), hex(record) + hex(locator));
}

// --- Data descriptors -------------------------------------------------------------------------

template <class Descriptor>
void expectDescriptor(const std::string &fields, const std::string &behind,
                      std::uint64_t compressed, std::uint64_t uncompressed) {
    TailSource unused{};
    for (const bool hasSignature : {true, false}) {
        const Data data = fromHex(hasSignature ? "50 4B 07 08" + fields : fields + behind);
        const auto descriptor = Descriptor::make(data, unused.provider());
        ASSERT_TRUE(descriptor) << hasSignature;
        EXPECT_EQ(descriptor->dataDescriptorSignature, 0x08074b50U);
        EXPECT_EQ(descriptor->crc32, 0x12345678U);
        EXPECT_EQ(descriptor->compressedSize, compressed);
        EXPECT_EQ(descriptor->uncompressedSize, uncompressed);
        EXPECT_EQ(hex(descriptor->data()), hex(data));
    }
    EXPECT_THAT(unused.calls, IsEmpty());
}

TEST(DataDescriptors, ParseWithAndWithoutSignature) {
    expectDescriptor<DataDescriptor>("78 56 34 12  11 22 00 00  33 44 00 00", "50 4B 01 02", 0x2211,
                                     0x4433);
    expectDescriptor<ZIP64DataDescriptor>(
        "78 56 34 12  11 12 13 14 15 16 17 18  21 22 23 24 25 26 27 28", "50 4B 03 04",
        0x1817161514131211, 0x2827262524232221);
}

TEST(DataDescriptors, NeedTheirExactSize) {
    static_assert(DataSerializable<DataDescriptor> && DataSerializable<ZIP64DataDescriptor>);
    for (std::size_t size = 0; size < 32; ++size) {
        Data data = fromHex("50 4B 07 08");
        data.resize(size);
        EXPECT_EQ(DataDescriptor::make(data, nullptr).has_value(), size == 16) << size;
        EXPECT_EQ(ZIP64DataDescriptor::make(data, nullptr).has_value(), size == 24) << size;
    }
}

TEST(DataDescriptors, KeepTheBytesTheyWereBuiltFrom) {
    const auto descriptor = DataDescriptor::from(fromHex("01 02 03"), 4, 5, 6);
    EXPECT_EQ(hex(descriptor.data()), "010203");
    EXPECT_EQ(descriptor.crc32, 4U);
    EXPECT_EQ(descriptor.compressedSize, 5U);
    EXPECT_EQ(descriptor.uncompressedSize, 6U);
    const auto wide = ZIP64DataDescriptor::from(Data(), 1, 1ULL << 40U, 1ULL << 50U);
    EXPECT_EQ(wide.compressedSize, 1ULL << 40U);
    EXPECT_EQ(wide.uncompressedSize, 1ULL << 50U);
    EXPECT_TRUE(wide.data().empty());
}

} // namespace

} // namespace vellomir::archive
