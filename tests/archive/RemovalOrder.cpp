// The order in which a removal checks, makes its temporary archive, looks for a cancellation and
// writes; and the records of entries that moved.

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>
#include <limits>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using test::errorOf;
using test::RecordEntry;
namespace fs = std::filesystem;

namespace {

class RemovalOrder : public testing::Test {
protected:
    std::unique_ptr<Archive> open(const std::vector<RecordEntry> &entries,
                                  AccessMode mode = AccessMode::update) {
        test::writeFile(folder_ / "a.zip", test::recordArchive(entries));
        return Archive::open(folder_.url("a.zip"), mode);
    }

    /// Whether anything is made in the archive's folder, or deleted there, by the action.
    bool touchesFolder(const std::function<void()> &action) {
        const fs::file_time_type longAgo{std::chrono::seconds(1)};
        fs::last_write_time(folder_.path(), longAgo);
        action();
        return fs::last_write_time(folder_.path()) != longAgo;
    }

    test::TemporaryFolder folder_;
};

TEST_F(RemovalOrder, AccessAndBufferSizeAreCheckedFirst) {
    const auto readOnly = open({{"a", "1"}, {"b", "2"}}, AccessMode::read);
    EXPECT_FALSE(touchesFolder([&] {
        EXPECT_EQ(errorOf([&] { readOnly->remove(*(*readOnly)["a"]); }),
                  ArchiveError::unwritableArchive);
    }));
    const auto archive = open({{"a", "1"}, {"b", "2"}});
    EXPECT_FALSE(touchesFolder([&] {
        EXPECT_EQ(errorOf([&] { archive->remove(*(*archive)["a"], {.bufferSize = 0}); }),
                  ArchiveError::invalidBufferSize);
    }));
    EXPECT_TRUE(touchesFolder([&] { archive->remove(*(*archive)["a"]); })) << "a temporary archive";
}

TEST_F(RemovalOrder, CancellationIsCheckedBeforeEachChunk) {
    const auto archive = open({{"a", "1"}, {"b", test::randomText(100000)}});
    const auto progress = Progress::make();
    progress->cancel();
    const auto entry = (*archive)["a"];
    const test::FileSizeLimit limit(1000); // a write would be another error
    EXPECT_EQ(
        errorOf([&] { archive->remove(*entry, {.bufferSize = 50000, .progress = progress}); }),
        ArchiveError::cancelledOperation);
    EXPECT_EQ(progress->completedUnitCount(), 0);
}

TEST_F(RemovalOrder, CancellationAfterTheLastChunkHasNoEffect) {
    const auto archive = open({{"a", "1"}, {"b", test::randomText(1000)}});
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > 0 && each.completedUnitCount() == each.totalUnitCount())
            const_cast<Progress &>(each).cancel();
    });
    archive->remove(*(*archive)["a"], {.bufferSize = 100, .progress = progress});
    EXPECT_TRUE(progress->isCancelled());
    EXPECT_FALSE((*archive)["a"]);
}

/// An entry of this length according to its descriptor of 64-bit sizes.
RecordEntry withLengthInADescriptor(std::uint64_t length) {
    RecordEntry entry("long", "content");
    entry.trailer = test::descriptor(entry.record.crc32, length, length);
    entry.record.versionNeededToExtract = 45;
    entry.record.generalPurposeBitFlag |= dataDescriptorFlag;
    return entry;
}

TEST_F(RemovalOrder, EntriesLongerThanAnyFileFail) {
    constexpr std::uint64_t headerAndDescriptor = 30 + 4 + 24;
    constexpr std::uint64_t greatest = std::numeric_limits<std::int64_t>::max();
    const auto removeFirst = [&](std::uint64_t length) {
        const auto archive = open({{"a", "1"}, withLengthInADescriptor(length)});
        EXPECT_EQ((*archive)["long"]->localSize(), length + headerAndDescriptor);
        const Error error = test::thrownBy([&] { archive->remove(*(*archive)["a"]); });
        EXPECT_EQ(error.entry(), "long");
        return error.code();
    };
    EXPECT_EQ(removeFirst(greatest - headerAndDescriptor + 1),
              ArchiveError::invalidLocalHeaderSize);
    EXPECT_EQ(removeFirst(greatest - headerAndDescriptor), Data::DataError::unreadableFile)
        << "the archive ends before";
}

// --- Records that move ------------------------------------------------------------------------

/// Moves sizes and offset to a ZIP64 field between two other fields.
RecordEntry withZIP64Field(RecordEntry entry, std::uint64_t offset) {
    ZIP64ExtendedInformation field;
    field.dataSize = 24;
    field.uncompressedSize = entry.record.uncompressedSize;
    field.compressedSize = entry.record.compressedSize;
    field.relativeOffsetOfLocalHeader = offset;
    entry.record.uncompressedSize = entry.record.compressedSize = maxUInt32;
    entry.record.relativeOffsetOfLocalHeader = maxUInt32;
    entry.record.versionNeededToExtract = entry.header.versionNeededToExtract = 45;
    test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData,
                  std::string("aa\1\0x", 5) + std::string(field.data().text()) +
                      std::string("bb\1\0y", 5));
    return entry;
}

/// Three entries with ZIP64 fields that they do not need.
std::vector<RecordEntry> threeWithZIP64Fields() {
    std::vector<RecordEntry> entries = {
        {"a", "first"}, {"b", "the second"}, test::deflatedRecordEntry("c", std::string(99, 'c'))};
    std::uint64_t offset = 0;
    for (RecordEntry &entry : entries) {
        const std::size_t size = test::localSize(entry);
        entry = offset == 0 ? entry : withZIP64Field(entry, offset);
        offset += size;
    }
    return entries;
}

TEST_F(RemovalOrder, ZIP64FieldsHaveTheNewOffsets) {
    const auto before = threeWithZIP64Fields();
    const auto archive = open(before);
    archive->remove(*(*archive)["a"]);
    std::uint64_t offset = 0;
    for (const std::size_t index : {1U, 2U}) {
        const RecordEntry &expected = before[index];
        const auto entry = (*archive)[expected.header.fileNameData.text()];
        ASSERT_TRUE(entry) << index;
        const auto &record = entry->centralDirectoryStructure();
        EXPECT_EQ(record.relativeOffsetOfLocalHeader, offset);
        EXPECT_EQ(record.effectiveRelativeOffsetOfLocalHeader(), offset);
        EXPECT_EQ(record.effectiveCompressedSize(), expected.data.size());
        EXPECT_EQ(record.effectiveUncompressedSize(), expected.header.uncompressedSize);
        EXPECT_EQ(record.extraFieldLength, 20 + 5 + 5) << "the field has no offset";
        offset += test::localSize(expected);
    }
    EXPECT_EQ(archive->offsetToStartOfCentralDirectory(), offset);
}

TEST_F(RemovalOrder, OtherProgramsReadMovedEntries) {
    const auto before = threeWithZIP64Fields();
    for (const std::string removed : {"a", "b", "c"}) {
        const auto archive = open(before);
        archive->remove(*(*archive)[removed]);
        test::expectOthersRead(folder_ / "a.zip");
        EXPECT_EQ(test::contentsOf(*archive).size(), 2U);
    }
}

} // namespace

} // namespace vellomir::archive
