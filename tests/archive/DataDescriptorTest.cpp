// Descriptors behind the data of an entry: where they are looked for, how wide they are, and what
// their values are used for.

#include "archive/Archive.h"
#include "tests/support/RecordArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <limits>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using test::RecordEntry;
using testing::ElementsAre;

namespace {

std::unique_ptr<Archive> open(const std::string &content) {
    return Archive::open(Data(std::string_view(content)), AccessMode::update);
}

std::vector<Entry> entries(const Archive &archive) {
    std::vector<Entry> found;
    for (const Entry &entry : archive)
        found.push_back(entry);
    return found;
}

std::string read(const Archive &archive, const Entry &entry) {
    std::string text;
    archive.extractChecked(entry,
                           [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); });
    return text;
}

template <std::unsigned_integral Size>
struct Described {
    CRC32 checksum;
    Size compressed;
    Size uncompressed;
};

/// A descriptor with its signature, or without.
template <std::unsigned_integral Size>
std::string descriptor(const Described<Size> &values, bool isSigned = true) {
    Data data;
    if (isSigned)
        data.appendValue(archive::dataDescriptorStructSignature);
    data.appendValue(values.checksum);
    data.appendValue(values.compressed);
    data.appendValue(values.uncompressed);
    return std::string(data.text());
}

/// Moves the checksum into a descriptor with sizes of this width, as a writer does that cannot go
/// back to the local header.
template <std::unsigned_integral Size>
RecordEntry described(RecordEntry entry, bool isSigned = true) {
    entry.trailer = descriptor(Described<Size>{entry.record.crc32, entry.record.compressedSize,
                                               entry.record.uncompressedSize},
                               isSigned);
    entry.header.generalPurposeBitFlag |= archive::dataDescriptorFlag;
    entry.record.generalPurposeBitFlag |= archive::dataDescriptorFlag;
    entry.header.crc32 = entry.header.compressedSize = entry.header.uncompressedSize = 0;
    test::setTail(entry.header.extraFieldLength, entry.header.extraFieldData,
                  std::string("UT\5\0\1time", 9));
    if (sizeof(Size) == 8)
        entry.header.versionNeededToExtract = entry.record.versionNeededToExtract = 45;
    return entry;
}

RecordEntry wide(const RecordEntry &entry) {
    return described<std::uint64_t>(entry);
}

RecordEntry narrow(const RecordEntry &entry) {
    return described<std::uint32_t>(entry);
}

const std::string content(1000, 'x');

TEST(DataDescriptors, OfZIP64EntriesHaveSizesOf64Bits) {
    const std::vector<RecordEntry> raw = {wide({"stored", content}),
                                          wide(test::deflatedRecordEntry("deflated", content)),
                                          {"last", "behind them"}};
    const auto archive = open(test::recordArchive(raw));
    const auto found = entries(*archive);
    ASSERT_EQ(found.size(), 3U);
    for (std::size_t index = 0; index < 2; ++index) {
        const Entry &entry = found[index];
        EXPECT_FALSE(entry.dataDescriptor()) << entry.path();
        ASSERT_TRUE(entry.zip64DataDescriptor()) << entry.path();
        EXPECT_EQ(entry.zip64DataDescriptor()->crc32, raw[index].record.crc32);
        EXPECT_EQ(entry.compressedSize(), raw[index].data.size());
        EXPECT_EQ(entry.uncompressedSize(), content.size());
        EXPECT_EQ(entry.checksum(), raw[index].record.crc32);
        EXPECT_EQ(entry.localSize(), test::localSize(raw[index]));
        EXPECT_EQ(read(*archive, entry), content);
    }
    EXPECT_FALSE(found[2].zip64DataDescriptor());
}

/// The version is an old one, but the sizes are in a ZIP64 field.
TEST(DataDescriptors, OfEntriesWithAZIP64FieldHaveSizesOf64Bits) {
    RecordEntry entry = wide({"a", content});
    archive::ZIP64ExtendedInformation sizes;
    sizes.dataSize = 16;
    sizes.uncompressedSize = sizes.compressedSize = content.size();
    test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData, sizes.data().text());
    entry.record.versionNeededToExtract = 20;
    entry.record.compressedSize = entry.record.uncompressedSize = archive::maxUInt32;
    const auto archive = open(test::recordArchive({entry}));
    const Entry found = entries(*archive).at(0);
    ASSERT_TRUE(found.zip64DataDescriptor());
    EXPECT_EQ(found.uncompressedSize(), content.size());
    EXPECT_EQ(found.checksum(), entry.record.crc32);
    EXPECT_EQ(read(*archive, found), content);
}

TEST(DataDescriptors, OfPlainEntriesHaveSizesOf32Bits) {
    const RecordEntry raw = narrow({"a", content});
    const auto archive = open(test::recordArchive({raw}));
    const Entry found = entries(*archive).at(0);
    EXPECT_FALSE(found.zip64DataDescriptor());
    ASSERT_TRUE(found.dataDescriptor());
    EXPECT_EQ(found.uncompressedSize(), content.size());
    EXPECT_EQ(found.localSize(), test::localSize(raw));
}

TEST(DataDescriptors, AreReadWithoutTheirSignature) {
    const RecordEntry first = described<std::uint64_t>({"wide", content}, false);
    const RecordEntry second = described<std::uint32_t>({"narrow", content}, false);
    const auto archive = open(test::recordArchive({first, second, {"last", "behind them"}}));
    const auto found = entries(*archive);
    EXPECT_EQ(found.at(0).zip64DataDescriptor()->crc32, first.record.crc32);
    EXPECT_EQ(found.at(0).zip64DataDescriptor()->uncompressedSize, content.size());
    EXPECT_EQ(found.at(1).dataDescriptor()->crc32, second.record.crc32);
    EXPECT_EQ(found.at(1).dataDescriptor()->uncompressedSize, content.size());
}

TEST(DataDescriptors, WithoutTheFlagAreNotRead) {
    for (RecordEntry raw : {wide({"a", content}), narrow({"a", content})}) {
        raw.record.generalPurposeBitFlag = archive::utf8PathFlag;
        const auto archive = open(test::recordArchive({raw}));
        const Entry found = entries(*archive).at(0);
        EXPECT_FALSE(found.dataDescriptor());
        EXPECT_FALSE(found.zip64DataDescriptor());
        EXPECT_EQ(found.checksum(), raw.record.crc32);
    }
}

TEST(DataDescriptors, StayBehindTheirDataWhenAnotherEntryIsRemoved) {
    const test::TemporaryFolder folder;
    std::vector<RecordEntry> raw = {wide({"a", content}), wide({"b", content}),
                                    wide(test::deflatedRecordEntry("c", content)),
                                    narrow({"d", content})};
    test::writeFile(folder / "a.zip", test::recordArchive(raw));
    {
        const auto archive = Archive::open(folder.url("a.zip"), AccessMode::update);
        archive->remove(*(*archive)["a"]);
    }
    raw.erase(raw.begin());
    EXPECT_EQ(test::readFile(folder / "a.zip"), test::recordArchive(raw));
    EXPECT_EQ(test::run({"python3", "-m", "zipfile", "-t", (folder / "a.zip").string()}).exitCode,
              0);
    EXPECT_EQ(test::run({"7z", "t", "-bso0", (folder / "a.zip").string()}).exitCode, 0);
}

/// The sizes in the directory say where a descriptor is, and how long the data is for a reader.
/// Those in the descriptor itself are only told.
template <std::unsigned_integral Size>
RecordEntry withOtherSizesInTheDescriptor(RecordEntry entry) {
    entry = described<Size>(std::move(entry));
    entry.trailer = descriptor(Described<Size>{entry.record.crc32, 3, 40});
    return entry;
}

void expectTheDirectorysSizesAreRead(const RecordEntry &raw) {
    const auto archive = open(test::recordArchive({raw, {"next", "not its data"}}));
    const Entry found = entries(*archive).at(0);
    EXPECT_EQ(found.compressedSize(), 3U);
    EXPECT_EQ(found.uncompressedSize(), 40U);
    EXPECT_EQ(read(*archive, found), "content");
}

TEST(DataDescriptors, TheirSizesAreNotUsedForReading) {
    const RecordEntry stored("a", "content");
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint32_t>(stored));
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint64_t>(stored));
    const RecordEntry deflated = test::deflatedRecordEntry("a", "content");
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint32_t>(deflated));
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint64_t>(deflated));
}

/// With no sizes in the directory the descriptor is looked for where the data starts.
TEST(DataDescriptors, SizesThatOnlyADescriptorKnowsGiveNoData) {
    RecordEntry raw = narrow({"a", ""});
    raw.data = descriptor(Described<std::uint32_t>{0x12345678, 7, 7}) + "content";
    raw.trailer.clear();
    const auto archive = open(test::recordArchive({raw}));
    const Entry found = entries(*archive).at(0);
    EXPECT_EQ(found.uncompressedSize(), 7U);
    EXPECT_EQ(found.checksum(), 0x12345678U);
    std::vector<std::size_t> chunks;
    const auto take = [&](std::span<const std::byte> chunk) { chunks.push_back(chunk.size()); };
    EXPECT_EQ(archive->extract(found, take), 0U);
    EXPECT_THAT(chunks, ElementsAre(0));
}

TEST(DataDescriptors, CountTheirSizeAsTheUnitsOfReading) {
    const auto archive = open(
        test::recordArchive({withOtherSizesInTheDescriptor<std::uint32_t>({"narrow", "content"}),
                             withOtherSizesInTheDescriptor<std::uint64_t>({"wide", "content"})}));
    for (const Entry &entry : *archive) {
        EXPECT_EQ(Archive::totalUnitCountForReading(entry), 40) << entry.path();
        EXPECT_EQ(Archive::makeProgressForReading(entry)->totalUnitCount(), 40);
    }
}

/// An archive of one stored entry whose descriptor tells this size.
std::unique_ptr<Archive> withSizeInTheDescriptor(std::uint64_t size) {
    RecordEntry entry = wide({"a", "content"});
    entry.trailer = descriptor(Described<std::uint64_t>{entry.record.crc32, size, size});
    return open(test::recordArchive({entry}));
}

TEST(DataDescriptors, SizesAboveTheGreatestFileHaveNoUnits) {
    const auto greatest = std::numeric_limits<std::int64_t>::max();
    const auto fits = withSizeInTheDescriptor(static_cast<std::uint64_t>(greatest));
    EXPECT_EQ(Archive::totalUnitCountForReading(*fits->begin()), greatest);
    const auto exceeds = withSizeInTheDescriptor(static_cast<std::uint64_t>(greatest) + 1);
    try {
        static_cast<void>(Archive::totalUnitCountForReading(*exceeds->begin()));
        FAIL() << "no error";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), Archive::ArchiveError::invalidEntrySize);
    }
}

/// Data of 7 bytes that the directory calls 3 bytes long in its other size.
RecordEntry withTwoSizes(std::uint16_t directoryMethod, std::uint16_t localMethod) {
    RecordEntry entry = narrow({"a", "content"});
    entry.record.compressionMethod = directoryMethod;
    entry.header.compressionMethod = localMethod;
    (directoryMethod == 0 ? entry.record.compressedSize : entry.record.uncompressedSize) = 3;
    return entry;
}

TEST(DataDescriptors, ArePlacedByTheMethodOfTheDirectory) {
    for (const auto directoryMethod : {std::uint16_t{0}, std::uint16_t{8}})
        for (const auto localMethod : {std::uint16_t{0}, std::uint16_t{8}}) {
            const RecordEntry raw = withTwoSizes(directoryMethod, localMethod);
            const auto archive = open(test::recordArchive({raw}));
            const Entry found = entries(*archive).at(0);
            ASSERT_TRUE(found.dataDescriptor());
            EXPECT_EQ(found.checksum(), raw.record.crc32)
                << "directory " << directoryMethod << ", local header " << localMethod;
        }
}

} // namespace

} // namespace vellomir::archive
