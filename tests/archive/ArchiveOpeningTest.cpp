// Opening archives, in files and in memory, and walking their entries.

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using End = Archive::EntryIterator::End;
using test::bytes;
using test::paths;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string emptyArchive = test::rawArchive({});

std::string openingError(const URL &url, AccessMode mode) {
    const Error error = test::thrownBy([&] { static_cast<void>(Archive::open(url, mode)); });
    return error.name() + ": " + error.what();
}

class Opening : public testing::TestWithParam<bool> {
protected:
    std::unique_ptr<Archive> open(const std::string &content, AccessMode mode = AccessMode::read,
                                  std::optional<TextEncoding> encoding = std::nullopt) {
        if (GetParam())
            return Archive::make(bytes(content), mode, encoding);
        test::writeFile(folder_ / "archive.zip", content);
        return Archive::make(folder_.url("archive.zip"), mode, encoding);
    }

    test::TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Opening, testing::Bool(), test::placeName);

TEST_P(Opening, ShortestArchiveIsAnEmptyOne) {
    ASSERT_EQ(emptyArchive.size(), 22U);
    const auto archive = open(emptyArchive);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), IsEmpty());
    EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 0U);
    EXPECT_FALSE(open(emptyArchive.substr(0, 21)));
    EXPECT_FALSE(open(""));
}

TEST_P(Opening, EntriesAreInTheOrderOfTheDirectory) {
    for (const AccessMode mode : {AccessMode::read, AccessMode::update}) {
        const auto archive = open(test::rawArchive({{"b", "2"}, {"a", "1"}, {"c", ""}}), mode);
        ASSERT_TRUE(archive);
        EXPECT_THAT(paths(*archive), ElementsAre("b", "a", "c"));
        EXPECT_THAT(paths(*archive), ElementsAre("b", "a", "c")) << "a second walk";
        auto walk = archive->begin();
        walk++;
        EXPECT_EQ(walk->path(), "a");
        auto entries = archive->makeIterator();
        EXPECT_TRUE(entries.next());
        entries = archive->makeIterator();
        EXPECT_EQ(entries.next()->path(), "b");
    }
}

TEST_P(Opening, FirstSignatureFromTheEndCounts) {
    const auto archive = open(test::rawArchive({{"a", "1"}}, "xx" + emptyArchive));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), IsEmpty()) << "the record in the comment was taken";
    std::string damaged = emptyArchive;
    damaged[20] = 9; // a comment that is not there
    EXPECT_FALSE(open(test::rawArchive({{"a", "1"}}, damaged)));
    EXPECT_TRUE(open(test::rawArchive({{"a", "1"}}, emptyArchive.substr(0, 4))))
        << "too near the end to start a record";
}

TEST_P(Opening, CommentsAreSkipped) {
    std::string content = test::rawArchive({{"a", "1"}}, "comment");
    content.pop_back();
    EXPECT_FALSE(open(content)) << "it is longer than the file";
    const auto archive = open(test::rawArchive({{"a", "1"}}, std::string(65535, 'c')));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

/// The signature at every place relative to the blocks in which it is searched.
TEST_P(Opening, SignatureIsFoundAtAnyDistanceFromTheEnd) {
    const std::string content = test::rawArchive({{"a", "1"}});
    for (std::size_t behind = 4060; behind < 4110; ++behind)
        ASSERT_TRUE(open(content + std::string(behind, 'P'))) << behind;
    for (std::size_t behind = 266220; behind < 266250; ++behind)
        ASSERT_TRUE(open(content + std::string(behind, '\0'))) << behind;
    const auto archive = open(content + std::string(1000000, 'P'));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

/// Replaces the first byte of the last record with this signature.
std::string damagedAt(std::string content, const char *signature) {
    content[content.rfind(signature)] = 'X';
    return content;
}

TEST_P(Opening, SequenceEndsAtAnEntryThatCannotBeRead) {
    const std::string sound = test::rawArchive({{"a", "1"}, {"b", "2"}});
    test::RawEntry encrypted{"b", "2"};
    encrypted.flags |= encryptedFlag;
    std::string far = sound;
    far.replace(far.size() - 6, 4, "\xFE\xFF\xFF\xFF"); // the directory is far behind the end
    struct Case {
        std::string content;
        End end;
        std::size_t count;
    };
    for (const auto &[content, end, count] :
         {Case{test::rawArchive({{"a", "1"}, encrypted, {"c", "3"}}), End::encryptedEntry, 1},
          {damagedAt(sound, "PK\1\2"), End::damagedRecord, 1},
          {damagedAt(sound, "PK\3\4"), End::damagedLocalHeader, 1},
          {far, End::damagedRecord, 0},
          {sound, End::complete, 2}}) {
        const auto archive = open(content);
        ASSERT_TRUE(archive);
        auto entries = archive->makeIterator();
        for (std::size_t index = 0; index < count; ++index) {
            EXPECT_TRUE(entries.next());
            EXPECT_EQ(entries.end(), End::notYet);
        }
        EXPECT_FALSE(entries.next());
        EXPECT_EQ(entries.end(), end);
        EXPECT_FALSE(entries.next()) << "an ended sequence stays ended";
        EXPECT_EQ(paths(*archive).size(), count);
        EXPECT_EQ(entries.recordsRead(), end == End::encryptedEntry ? count + 1 : count);
    }
}

TEST_P(Opening, CountOfTheEndRecordLimitsTheSequence) {
    std::string content = test::rawArchive({{"a", "1"}, {"b", "2"}});
    content[content.size() - 12] = 1;
    const auto archive = open(content);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

TEST_P(Opening, LookUpIsExact) {
    const auto archive = open(test::rawArchive({test::rawDirectory("dir/"), {"dir/a", "1"}}));
    ASSERT_TRUE(archive);
    EXPECT_TRUE((*archive)["dir/"]);
    EXPECT_FALSE((*archive)["dir"]);
    EXPECT_FALSE((*archive)["DIR/"]);
    EXPECT_TRUE((*archive)["dir/a"]);
    EXPECT_FALSE((*archive)[""]);
}

TEST_P(Opening, LookUpFindsTheFirstOfEqualPaths) {
    const auto archive = open(test::rawArchive({{"a", "first"}, {"a", "other"}}));
    ASSERT_TRUE(archive);
    EXPECT_EQ((*archive)["a"]->checksum(), bytes("first").crc32(0));
}

TEST_P(Opening, LookUpUsesThePreferredEncoding) {
    test::RawEntry entry{"\x81", "1"};
    entry.flags = 0;
    const std::string content = test::rawArchive({entry});
    EXPECT_TRUE((*open(content))["\xC3\xBC"]) << "code page 437 where nothing else is said";
    const auto archive = open(content, AccessMode::read, TextEncoding::utf8);
    EXPECT_EQ(archive->preferredEncoding(), TextEncoding::utf8);
    EXPECT_FALSE((*archive)["\xC3\xBC"]);
    EXPECT_TRUE((*archive)[""]) << "no valid UTF-8: the empty path";
}

/// A position that wraps at 2^64 would lead back to the descriptor at the start.
TEST_P(Opening, DataDescriptorBeyondAnyFileIsAbsent) {
    test::RecordEntry first("a", "");
    first.data = test::descriptor<std::uint64_t>(0x12345678, 7, 7);
    const std::size_t start = test::localSize(first);
    test::RecordEntry entry("b", "");
    ZIP64ExtendedInformation field;
    field.dataSize = 16;
    field.compressedSize = field.uncompressedSize =
        0 - std::uint64_t{start + 31} + LocalFileHeader::size + 1;
    entry.record.generalPurposeBitFlag |= dataDescriptorFlag;
    entry.record.compressedSize = entry.record.uncompressedSize = maxUInt32;
    test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData, field.data().text());
    const auto archive = open(test::recordArchive({first, entry}));
    ASSERT_TRUE(archive);
    const auto found = (*archive)["b"];
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->zip64DataDescriptor());
}

/// A ZIP64 record with its locator, and `gap` bytes between the two.
std::string withZIP64(const std::string &content, std::uint64_t count, std::size_t gap) {
    const std::size_t end = content.size() - 22;
    const auto plain = EndOfCentralDirectoryRecord::make(
        bytes(content.substr(end)), [](std::size_t) { return std::span<const std::byte>(); });
    ZIP64EndOfCentralDirectory zip64;
    zip64.record.sizeOfZIP64EndOfCentralDirectoryRecord = 44;
    zip64.record.versionNeededToExtract = 45;
    zip64.record.totalNumberOfEntriesInCentralDirectory = count;
    zip64.record.totalNumberOfEntriesOnDisk = count;
    zip64.record.sizeOfCentralDirectory = plain->sizeOfCentralDirectory;
    zip64.record.offsetToStartOfCentralDirectory = plain->offsetToStartOfCentralDirectory;
    zip64.locator.relativeOffsetOfZIP64EOCDRecord = end;
    return content.substr(0, end) + std::string(zip64.record.data().text()) +
           std::string(gap, '\0') + std::string(zip64.locator.data().text()) + content.substr(end);
}

TEST_P(Opening, ZIP64TotalsAreUsedWithoutSentinels) {
    const auto archive = open(withZIP64(test::rawArchive({{"a", "1"}, {"b", "2"}}), 1, 0));
    ASSERT_TRUE(archive);
    ASSERT_TRUE(archive->zip64EndOfCentralDirectory());
    EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 1U);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

TEST_P(Opening, ZIP64RecordNotBeforeItsLocatorIsIgnored) {
    const auto archive = open(withZIP64(test::rawArchive({{"a", "1"}, {"b", "2"}}), 1, 4));
    ASSERT_TRUE(archive);
    EXPECT_FALSE(archive->zip64EndOfCentralDirectory());
    EXPECT_THAT(paths(*archive), ElementsAre("a", "b"));
}

TEST(Creating, WritesAnEmptyArchive) {
    const test::TemporaryFolder folder;
    const auto archive = Archive::make(folder.url("new.zip"), AccessMode::create);
    ASSERT_TRUE(archive);
    EXPECT_EQ(test::readFile(folder / "new.zip"), emptyArchive);
    EXPECT_EQ(archive->accessMode(), AccessMode::create);
}

TEST(Creating, RefusesAnExistingFile) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "old.zip", "precious");
    EXPECT_FALSE(Archive::make(folder.url("old.zip"), AccessMode::create));
    EXPECT_EQ(test::readFile(folder / "old.zip"), "precious");
    EXPECT_THAT(openingError(folder.url("old.zip"), AccessMode::create),
                HasSubstr("ArchiveError.unwritableArchive: The archive cannot be created: File "
                          "exists: "));
}

TEST(Creating, InMemoryIgnoresTheBytes) {
    const auto archive = Archive::make(bytes("anything"), AccessMode::create);
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->data()->text(), emptyArchive);
    EXPECT_TRUE(archive->isMemory());
}

TEST(OpeningForAnotherThread, BothReadAtPositionsOfTheirOwn) {
    const test::TemporaryFolder folder;
    const std::string text = test::randomText(50'000);
    test::writeFile(folder / "a.zip", test::rawArchive({{"a", text}, {"b", "short"}}));
    const auto first = Archive::open(folder.url("a.zip"), AccessMode::read);
    const auto second = first->openForAnotherThread();
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(test::paths(*second), test::paths(*first));
    const Entry entry = (*first)["a"].value();
    std::string found;
    first->extractChecked(entry, [&](std::span<const std::byte> chunk) {
        found += Data(chunk).text();
        EXPECT_EQ(test::contentOf(*second, "b"), "short");
    });
    EXPECT_EQ(found, text);
}

TEST(OpeningForAnotherThread, ReadsTheSameFileWhateverHasItsName) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", test::rawArchive({{"a", "old"}}));
    const auto first = Archive::open(folder.url("a.zip"), AccessMode::read);
    std::filesystem::remove(folder / "a.zip");
    test::writeFile(folder / "a.zip", test::rawArchive({{"a", "new"}}));
    EXPECT_EQ(test::contentOf(*first->openForAnotherThread(), "a"), "old");
}

TEST(OpeningForAnotherThread, NeedsAFileThatIsOnlyRead) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", test::rawArchive({}));
    EXPECT_EQ(test::openBytes(test::rawArchive({}), AccessMode::read)->openForAnotherThread(),
              nullptr);
    EXPECT_EQ(Archive::open(folder.url("a.zip"), AccessMode::update)->openForAnotherThread(),
              nullptr);
}

TEST(OpeningErrors, CancelledSearchHasItsOwnError) {
    const auto progress = Progress::make();
    const test::TemporaryFolder folder;
    test::writeFile(folder / "no.zip", std::string(10'000'000, 'x'));
    const auto opening = [&](const auto &what) {
        return test::errorOf([&] {
            static_cast<void>(Archive::open(what, AccessMode::read, std::nullopt, progress));
        });
    };
    EXPECT_EQ(opening(folder.url("no.zip")), Archive::ArchiveError::unreadableArchive);
    progress->cancel();
    EXPECT_EQ(opening(folder.url("no.zip")), Archive::ArchiveError::cancelledOperation);
    EXPECT_EQ(opening(bytes("short")), Archive::ArchiveError::unreadableArchive);
    EXPECT_EQ(opening(bytes(std::string(1000, 'x'))), Archive::ArchiveError::cancelledOperation);
}

TEST(OpeningErrors, NameTheProblem) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "empty", "");
    test::writeFile(folder / "text", "this is no archive at all");
    test::writeFile(folder / "cut", test::rawArchive({{"a", std::string(100, 'x')}}).substr(0, 90));
    std::string damaged = test::rawArchive({}, "comment");
    damaged.pop_back();
    test::writeFile(folder / "damaged", damaged);
    const auto error = [&](std::string_view name) {
        return openingError(folder.url(name), AccessMode::read);
    };
    EXPECT_THAT(error("missing"), HasSubstr("cannot be opened: No such file or directory: " +
                                            (folder / "missing").string()));
    EXPECT_THAT(error("empty"), HasSubstr("The archive is empty"));
    EXPECT_THAT(error("text"), HasSubstr("This is not a ZIP archive: it has no end record"));
    EXPECT_THAT(error("cut"), HasSubstr("The archive is cut short: its end record is missing. Was "
                                        "the download complete?: "));
    EXPECT_THAT(error("damaged"), HasSubstr("end record is damaged"));
    EXPECT_THAT(error("."), HasSubstr("This is a folder, not an archive"));
    EXPECT_THAT(error("text"), testing::StartsWith("ArchiveError.unreadableArchive: "));
}

TEST(AccessModes, HaveTheirRawValues) {
    EXPECT_EQ(static_cast<unsigned>(AccessMode::create), 0U);
    EXPECT_EQ(static_cast<unsigned>(AccessMode::read), 1U);
    EXPECT_EQ(static_cast<unsigned>(AccessMode::update), 2U);
}

} // namespace

} // namespace vellomir::archive
