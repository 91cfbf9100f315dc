// In which order a removal checks, makes its temporary archive, polls and writes; and the records
// of what has moved.

#include "archive/Archive.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <limits>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using test::RecordEntry;
namespace fs = std::filesystem;

namespace {

std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

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

TEST_F(RemovalOrder, AccessIsCheckedBeforeATemporaryArchiveIsMade) {
    const auto archive = open({{"a", "1"}, {"b", "2"}}, AccessMode::read);
    EXPECT_FALSE(touchesFolder([&] {
        EXPECT_EQ(errorOf([&] { archive->remove(*(*archive)["a"]); }),
                  ArchiveError::unwritableArchive);
    }));
}

TEST_F(RemovalOrder, TheBufferSizeIsCheckedBeforeATemporaryArchiveIsMade) {
    const auto archive = open({{"a", "1"}, {"b", "2"}});
    EXPECT_FALSE(touchesFolder([&] {
        EXPECT_EQ(errorOf([&] { archive->remove(*(*archive)["a"], {.bufferSize = 0}); }),
                  ArchiveError::invalidBufferSize);
    }));
    EXPECT_TRUE(touchesFolder([&] { archive->remove(*(*archive)["a"]); })) << "the way to tell";
}

TEST_F(RemovalOrder, CancellationIsPolledBeforeAChunkIsWritten) {
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

TEST_F(RemovalOrder, CancellationAfterTheLastChunkIsTooLate) {
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

/// An entry that calls itself so long, by a descriptor of 64-bit sizes.
RecordEntry withLengthInADescriptor(std::uint64_t length) {
    RecordEntry entry("long", "content");
    Data descriptor;
    descriptor.appendValue(archive::dataDescriptorStructSignature);
    descriptor.appendValue(entry.record.crc32);
    descriptor.appendValue(length);
    descriptor.appendValue(length);
    entry.trailer = descriptor.text();
    entry.record.versionNeededToExtract = 45;
    entry.record.generalPurposeBitFlag |= archive::dataDescriptorFlag;
    return entry;
}

TEST_F(RemovalOrder, EntriesLongerThanAnyFileAreNotCopied) {
    constexpr std::uint64_t headerAndDescriptor = 30 + 4 + 24;
    constexpr std::uint64_t greatest = std::numeric_limits<std::int64_t>::max();
    const auto removeFirst = [&](std::uint64_t length) {
        const auto archive = open({{"a", "1"}, withLengthInADescriptor(length)});
        EXPECT_EQ((*archive)["long"]->localSize(), length + headerAndDescriptor);
        try {
            archive->remove(*(*archive)["a"]);
        } catch (const Error &error) {
            EXPECT_EQ(error.entry(), "long");
            return error.code();
        }
        return std::error_code();
    };
    EXPECT_EQ(removeFirst(greatest - headerAndDescriptor + 1),
              ArchiveError::invalidLocalHeaderSize);
    EXPECT_EQ(removeFirst(greatest - headerAndDescriptor), Data::DataError::unreadableFile)
        << "the archive ends before";
}

// --- Records that move ------------------------------------------------------------------------

/// Leaves sizes and offset to a ZIP64 field, between two fields of others.
RecordEntry withZIP64Field(RecordEntry entry, std::uint64_t offset) {
    archive::ZIP64ExtendedInformation field;
    field.dataSize = 24;
    field.uncompressedSize = entry.record.uncompressedSize;
    field.compressedSize = entry.record.compressedSize;
    field.relativeOffsetOfLocalHeader = offset;
    entry.record.uncompressedSize = entry.record.compressedSize = archive::maxUInt32;
    entry.record.relativeOffsetOfLocalHeader = archive::maxUInt32;
    entry.record.versionNeededToExtract = entry.header.versionNeededToExtract = 45;
    test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData,
                  std::string("aa\1\0x", 5) + std::string(field.data().text()) +
                      std::string("bb\1\0y", 5));
    return entry;
}

/// Three entries whose places are in ZIP64 fields, without need.
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

TEST_F(RemovalOrder, ZIP64FieldsFollowTheEntriesThatMove) {
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
        EXPECT_EQ(record.extraFieldLength, 20 + 5 + 5) << "the offset has left the field";
        offset += test::localSize(expected);
    }
    EXPECT_EQ(archive->offsetToStartOfCentralDirectory(), offset);
}

TEST_F(RemovalOrder, OtherReadersFindEntriesThatMovedOutOfZIP64Fields) {
    const auto before = threeWithZIP64Fields();
    for (const std::string removed : {"a", "b", "c"}) {
        const auto archive = open(before);
        archive->remove(*(*archive)[removed]);
        const std::string path = (folder_ / "a.zip").string();
        for (const std::vector<std::string> &command :
             {std::vector<std::string>{"unzip", "-tqq", path},
              {"7z", "t", "-bso0", path},
              {"python3", "-m", "zipfile", "-t", path}}) {
            const auto verdict = test::run(command);
            EXPECT_EQ(verdict.exitCode, 0) << removed << ": " << verdict.output;
        }
        const auto ignore = [](std::span<const std::byte>) {};
        for (const Entry &entry : *archive)
            EXPECT_EQ(archive->extract(entry, ignore), entry.checksum()) << entry.path();
    }
}

} // namespace

} // namespace vellomir::archive
