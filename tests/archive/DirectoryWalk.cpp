// From the end records to the entries: which totals count, how the directory is walked, and which
// record counts where two of them disagree.

#include "tests/support/Archives.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using test::openBytes;
using test::paths;
using test::RecordEntry;
using testing::ElementsAre;

namespace {

/// Names, extra fields and comments of different lengths.
std::vector<RecordEntry> withTails() {
    std::vector<RecordEntry> entries;
    for (const std::string name : {"a", "long name", "c"}) {
        RecordEntry entry(name, "content of " + name);
        const std::string comment = "a comment on " + name;
        test::setTail(entry.record.fileCommentLength, entry.record.fileCommentData, comment);
        test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData,
                      std::string("UT\5\0\1time", 9));
        test::setTail(entry.header.extraFieldLength, entry.header.extraFieldData,
                      std::string("UT\x9\0\1timetime", 13));
        entries.push_back(entry);
    }
    return entries;
}

TEST(DirectoryWalk, SkipsNamesExtraFieldsAndComments) {
    const auto archive = openBytes(test::recordArchive(withTails()));
    EXPECT_THAT(paths(*archive), ElementsAre("a", "long name", "c"));
    for (const Entry &entry : *archive) {
        EXPECT_EQ(test::extracted(*archive, entry), "content of " + entry.path());
        EXPECT_EQ(entry.centralDirectoryStructure().fileCommentData.text(),
                  "a comment on " + entry.path());
    }
}

/// One directory for the end record, and another for the ZIP64 end record.
struct TwoDirectories {
    TwoDirectories() {
        RecordEntry plain("plain", "1");
        content = test::recordArchive({plain, plain});
        content.resize(content.size() - EndOfCentralDirectoryRecord::size);
        end.totalNumberOfEntriesInCentralDirectory = 2;
        end.sizeOfCentralDirectory = static_cast<std::uint32_t>(2 * plain.record.data().size());
        end.offsetToStartOfCentralDirectory =
            static_cast<std::uint32_t>(content.size()) - end.sizeOfCentralDirectory;

        test::setTail(plain.record.fileNameLength, plain.record.fileNameData, "by ZIP64");
        zip64.record.versionNeededToExtract = 45;
        zip64.record.totalNumberOfEntriesInCentralDirectory = 1;
        zip64.record.sizeOfCentralDirectory = plain.record.data().size();
        zip64.record.offsetToStartOfCentralDirectory = content.size();
        content += plain.record.data().text();
    }

    [[nodiscard]] std::unique_ptr<Archive> open() const {
        return openBytes(content + std::string(zip64.data().text()) +
                         std::string(end.data().text()));
    }

    std::string content;
    EndOfCentralDirectoryRecord end;
    ZIP64EndOfCentralDirectory zip64;
};

void expectZIP64Values(const TwoDirectories &directories) {
    const auto archive = directories.open();
    const auto &record = directories.zip64.record;
    EXPECT_EQ(archive->offsetToStartOfCentralDirectory(), record.offsetToStartOfCentralDirectory);
    EXPECT_EQ(archive->sizeOfCentralDirectory(), record.sizeOfCentralDirectory);
    EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 1U);
    EXPECT_THAT(paths(*archive), ElementsAre("by ZIP64"));
}

TEST(DirectoryWalk, UsesTheZIP64RecordIfThereIsOne) {
    expectZIP64Values({});
    TwoDirectories directories;
    directories.end.offsetToStartOfCentralDirectory = maxUInt32;
    expectZIP64Values(directories);
    directories.end.sizeOfCentralDirectory = maxUInt32;
    directories.end.totalNumberOfEntriesInCentralDirectory = maxUInt16;
    expectZIP64Values(directories);
}

TEST(DirectoryWalk, UsesTheEndRecordWithoutAZIP64Record) {
    TwoDirectories directories;
    directories.zip64.record.versionNeededToExtract = 44;
    EXPECT_THAT(paths(*directories.open()), ElementsAre("plain", "plain"));
    directories = TwoDirectories();
    directories.zip64.locator.zip64EOCDLocatorSignature = 0;
    EXPECT_THAT(paths(*directories.open()), ElementsAre("plain", "plain"));
}

/// The ZIP64 record and its locator at the very start of a file, or some bytes behind.
bool findsZIP64Records(std::size_t bytesBefore) {
    ZIP64EndOfCentralDirectory zip64;
    zip64.record.versionNeededToExtract = 45;
    const auto archive = openBytes(std::string(bytesBefore, '\0') + test::recordArchive({}, zip64));
    return archive->zip64EndOfCentralDirectory().has_value();
}

TEST(DirectoryWalk, ZIP64RecordsAtTheStartAreIgnored) {
    EXPECT_FALSE(findsZIP64Records(0));
    EXPECT_TRUE(findsZIP64Records(1));
    EXPECT_TRUE(findsZIP64Records(2));
}

TEST(DirectoryWalk, EndRecordWithoutRoomForALocatorIsRead) {
    for (const std::size_t room : {0U, 19U, 20U, 21U, 56U, 75U, 76U, 77U})
        EXPECT_FALSE(openBytes(std::string(room, '\0') + test::recordArchive({}))
                         ->zip64EndOfCentralDirectory());
}

/// The signature of an end record, so many bytes before the end of the file.
std::vector<std::string> pathsWithASignature(std::size_t bytesFromTheEnd) {
    std::string tail(bytesFromTheEnd, '\0');
    tail.replace(0, 4, "PK\5\6");
    return paths(*openBytes(test::recordArchive({{"a", "1"}}) + tail));
}

TEST(DirectoryWalk, SignatureWithoutRoomForAnEndRecordIsIgnored) {
    for (const std::size_t tooFew : {4U, 5U, 20U, 21U})
        EXPECT_THAT(pathsWithASignature(tooFew), ElementsAre("a")) << tooFew;
    EXPECT_THAT(pathsWithASignature(22), testing::IsEmpty()) << "a whole record without entries";
}

std::string linkTarget(std::uint32_t sizeInHeader, std::uint32_t sizeInDirectory) {
    RecordEntry link("l", "target");
    link.record.externalFileAttributes = 0120777U << 16U;
    link.header.compressedSize = sizeInHeader;
    link.record.compressedSize = sizeInDirectory;
    const auto archive = openBytes(test::recordArchive({link}));
    return test::extracted(*archive, *archive->makeIterator().next());
}

TEST(LinkSizes, AreThoseOfTheLocalHeader) {
    EXPECT_EQ(linkTarget(6, 6), "target");
    EXPECT_EQ(linkTarget(3, 6), "tar");
    EXPECT_EQ(linkTarget(6, 3), "target");
}

} // namespace

} // namespace vellomir::archive
