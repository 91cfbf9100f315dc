// Data descriptors behind the data of entries: position, width, and use of their values.

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using test::described;
using test::descriptor;
using test::entries;
using test::extracted;
using test::narrow;
using test::openBytes;
using test::RecordEntry;
using test::wide;
using testing::ElementsAre;

namespace {

const std::string content(1000, 'x');

TEST(DataDescriptors, OfZIP64EntriesHaveSizesOf64Bits) {
    const std::vector<RecordEntry> raw = {wide({"stored", content}),
                                          wide(test::deflatedRecordEntry("deflated", content)),
                                          {"last", "behind them"}};
    const auto archive = openBytes(test::recordArchive(raw));
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
        EXPECT_EQ(extracted(*archive, entry), content);
    }
    EXPECT_FALSE(found[2].zip64DataDescriptor());
}

/// The version is an old one, but the sizes are in a ZIP64 field.
TEST(DataDescriptors, OfEntriesWithAZIP64FieldHaveSizesOf64Bits) {
    RecordEntry entry = wide({"a", content});
    ZIP64ExtendedInformation sizes;
    sizes.dataSize = 16;
    sizes.uncompressedSize = sizes.compressedSize = content.size();
    test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData, sizes.data().text());
    entry.record.versionNeededToExtract = 20;
    entry.record.compressedSize = entry.record.uncompressedSize = maxUInt32;
    const auto archive = openBytes(test::recordArchive({entry}));
    const Entry found = entries(*archive).at(0);
    ASSERT_TRUE(found.zip64DataDescriptor());
    EXPECT_EQ(found.uncompressedSize(), content.size());
    EXPECT_EQ(found.checksum(), entry.record.crc32);
    EXPECT_EQ(extracted(*archive, found), content);
}

TEST(DataDescriptors, OfPlainEntriesHaveSizesOf32Bits) {
    for (const RecordEntry &raw :
         {narrow({"a", content}), narrow(test::deflatedRecordEntry("a", content))}) {
        const auto archive = openBytes(test::recordArchive({raw}));
        const Entry found = entries(*archive).at(0);
        EXPECT_FALSE(found.zip64DataDescriptor());
        ASSERT_TRUE(found.dataDescriptor());
        EXPECT_EQ(found.uncompressedSize(), content.size());
        EXPECT_EQ(found.checksum(), raw.record.crc32);
        EXPECT_EQ(found.localSize(), test::localSize(raw));
    }
}

TEST(DataDescriptors, AreReadWithoutTheirSignature) {
    const RecordEntry first = described<std::uint64_t>({"wide", content}, false);
    const RecordEntry second = described<std::uint32_t>({"narrow", content}, false);
    const auto archive = openBytes(test::recordArchive({first, second, {"last", "behind them"}}));
    const auto found = entries(*archive);
    EXPECT_EQ(found.at(0).zip64DataDescriptor()->crc32, first.record.crc32);
    EXPECT_EQ(found.at(0).zip64DataDescriptor()->uncompressedSize, content.size());
    EXPECT_EQ(found.at(1).dataDescriptor()->crc32, second.record.crc32);
    EXPECT_EQ(found.at(1).dataDescriptor()->uncompressedSize, content.size());
}

TEST(DataDescriptors, WithoutTheFlagAreNotRead) {
    for (RecordEntry raw : {wide({"a", content}), narrow({"a", content})}) {
        raw.record.generalPurposeBitFlag = utf8PathFlag;
        const auto archive = openBytes(test::recordArchive({raw}));
        const Entry found = entries(*archive).at(0);
        EXPECT_FALSE(found.dataDescriptor());
        EXPECT_FALSE(found.zip64DataDescriptor());
        EXPECT_EQ(found.checksum(), raw.record.crc32);
    }
}

/// The sizes in the directory decide where a descriptor is and how much is read; those in the
/// descriptor are only reported.
template <std::unsigned_integral Size>
RecordEntry withOtherSizesInTheDescriptor(RecordEntry entry) {
    entry = described<Size>(std::move(entry));
    entry.trailer = descriptor<Size>(entry.record.crc32, 3, 40);
    return entry;
}

void expectTheDirectorysSizesAreRead(const RecordEntry &raw) {
    const auto archive = openBytes(test::recordArchive({raw, {"next", "not its data"}}));
    const Entry found = entries(*archive).at(0);
    EXPECT_EQ(found.compressedSize(), 3U);
    EXPECT_EQ(found.uncompressedSize(), 40U);
    EXPECT_EQ(extracted(*archive, found), "content");
}

TEST(DataDescriptors, SizesInThemAreNotUsedForReading) {
    const RecordEntry stored("a", "content");
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint32_t>(stored));
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint64_t>(stored));
    const RecordEntry deflated = test::deflatedRecordEntry("a", "content");
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint32_t>(deflated));
    expectTheDirectorysSizesAreRead(withOtherSizesInTheDescriptor<std::uint64_t>(deflated));
}

/// Without sizes in the directory, the descriptor is expected where the data starts.
TEST(DataDescriptors, SizesMissingInTheDirectoryGiveNoData) {
    RecordEntry raw = narrow({"a", ""});
    raw.data = descriptor<std::uint32_t>(0x12345678, 7, 7) + "content";
    raw.trailer.clear();
    const auto archive = openBytes(test::recordArchive({raw}));
    const Entry found = entries(*archive).at(0);
    EXPECT_EQ(found.uncompressedSize(), 7U);
    EXPECT_EQ(found.checksum(), 0x12345678U);
    std::vector<std::size_t> chunks;
    const auto take = [&](std::span<const std::byte> chunk) { chunks.push_back(chunk.size()); };
    EXPECT_EQ(archive->extract(found, take), 0U);
    EXPECT_THAT(chunks, ElementsAre(0));
}

TEST(DataDescriptors, SizesInThemAreTheUnitsOfReading) {
    const auto archive = openBytes(
        test::recordArchive({withOtherSizesInTheDescriptor<std::uint32_t>({"narrow", "content"}),
                             withOtherSizesInTheDescriptor<std::uint64_t>({"wide", "content"})}));
    for (const Entry &entry : *archive) {
        EXPECT_EQ(Archive::totalUnitCountForReading(entry), 40) << entry.path();
        EXPECT_EQ(Archive::makeProgressForReading(entry)->totalUnitCount(), 40);
    }
}

/// An archive of one stored entry with this size in its descriptor.
std::unique_ptr<Archive> withSizeInTheDescriptor(std::uint64_t size) {
    RecordEntry entry = wide({"a", "content"});
    entry.trailer = descriptor<std::uint64_t>(entry.record.crc32, size, size);
    return openBytes(test::recordArchive({entry}));
}

TEST(DataDescriptors, SizesBeyondAnyFileHaveNoUnits) {
    const auto greatest = std::numeric_limits<std::int64_t>::max();
    const auto fits = withSizeInTheDescriptor(static_cast<std::uint64_t>(greatest));
    EXPECT_EQ(Archive::totalUnitCountForReading(*fits->begin()), greatest);
    const auto exceeds = withSizeInTheDescriptor(static_cast<std::uint64_t>(greatest) + 1);
    EXPECT_EQ(test::errorOf(
                  [&] { static_cast<void>(Archive::totalUnitCountForReading(*exceeds->begin())); }),
              Archive::ArchiveError::invalidEntrySize);
}

/// Data of 7 bytes, of which the other size in the directory is 3.
RecordEntry withTwoSizes(std::uint16_t directoryMethod, std::uint16_t localMethod) {
    RecordEntry entry = narrow({"a", "content"});
    entry.record.compressionMethod = directoryMethod;
    entry.header.compressionMethod = localMethod;
    (directoryMethod == 0 ? entry.record.compressedSize : entry.record.uncompressedSize) = 3;
    return entry;
}

TEST(DataDescriptors, AreFoundByTheMethodOfTheDirectory) {
    for (const auto directoryMethod : {std::uint16_t{0}, std::uint16_t{8}})
        for (const auto localMethod : {std::uint16_t{0}, std::uint16_t{8}}) {
            const RecordEntry raw = withTwoSizes(directoryMethod, localMethod);
            const auto archive = openBytes(test::recordArchive({raw}));
            const Entry found = entries(*archive).at(0);
            ASSERT_TRUE(found.dataDescriptor());
            EXPECT_EQ(found.checksum(), raw.record.crc32)
                << "directory " << directoryMethod << ", local header " << localMethod;
        }
}

} // namespace

} // namespace vellomir::archive
