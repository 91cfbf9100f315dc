#include "archive/Archive.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using End = Archive::EntryIterator::End;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string emptyArchive = test::rawArchive({});

Data bytes(const std::string &text) {
    return Data(std::string_view(text));
}

std::vector<std::string> paths(const Archive &archive) {
    std::vector<std::string> found;
    for (const Entry &entry : archive)
        found.push_back(archive.path(entry));
    return found;
}

std::string openingError(const archive::URL &url, AccessMode mode) {
    try {
        static_cast<void>(Archive::open(url, mode));
    } catch (const Error &error) {
        return error.name() + ": " + error.what();
    }
    return "opened";
}

/// Every way to open the same bytes must see the same archive.
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

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Opening, testing::Bool(),
                         [](const auto &each) { return each.param ? "Memory" : "File"; });

TEST_P(Opening, AnEmptyArchiveIteratesAsEmpty) {
    ASSERT_EQ(emptyArchive.size(), 22U);
    const auto archive = open(emptyArchive);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), IsEmpty());
    EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 0U);
}

TEST_P(Opening, AFileShorterThanTheEndRecordDoesNotOpen) {
    EXPECT_FALSE(open(emptyArchive.substr(0, 21)));
    EXPECT_FALSE(open(""));
}

TEST_P(Opening, EntriesComeInTheDirectorysOrder) {
    const auto archive = open(test::rawArchive({{"b", "2"}, {"a", "1"}, {"c", ""}}));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("b", "a", "c"));
    EXPECT_THAT(paths(*archive), ElementsAre("b", "a", "c")) << "a second walk begins anew";
}

TEST_P(Opening, UpdateStartsAtTheBeginningAndReadsTheSame) {
    const auto archive = open(test::rawArchive({{"a", "1"}}), AccessMode::update);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

TEST_P(Opening, TheFirstSignatureFromTheEndCountsAlsoInsideAComment) {
    const std::string signature = emptyArchive.substr(0, 4);
    const auto archive = open(test::rawArchive({{"a", "1"}}, "xx" + emptyArchive));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), IsEmpty()) << "the record in the comment was taken";
    std::string damaged = emptyArchive;
    damaged[20] = 9; // a comment that is not there
    EXPECT_FALSE(open(test::rawArchive({{"a", "1"}}, damaged)));
    EXPECT_TRUE(open(test::rawArchive({{"a", "1"}}, signature)))
        << "too near the end to start a record";
}

TEST_P(Opening, ACommentPastTheEndDoesNotOpen) {
    std::string content = test::rawArchive({{"a", "1"}}, "comment");
    content.pop_back();
    EXPECT_FALSE(open(content));
}

TEST_P(Opening, ALongCommentIsFoundBehind) {
    const auto archive = open(test::rawArchive({{"a", "1"}}, std::string(65535, 'c')));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

TEST_P(Opening, TheScanHasNoLimit) {
    const auto archive = open(test::rawArchive({{"a", "1"}}) + std::string(1000000, 'P'));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

/// The signature at every place relative to the blocks in which the scan reads.
TEST_P(Opening, TheSignatureIsFoundAcrossBlocks) {
    const std::string content = test::rawArchive({{"a", "1"}});
    for (std::size_t behind = 4060; behind < 4110; ++behind)
        ASSERT_TRUE(open(content + std::string(behind, '\x50'))) << behind;
    for (std::size_t behind = 266220; behind < 266250; ++behind)
        ASSERT_TRUE(open(content + std::string(behind, '\0'))) << behind;
}

TEST_P(Opening, AnEncryptedEntryEndsTheSequence) {
    test::RawEntry encrypted{"b", "2"};
    encrypted.flags |= archive::encryptedFlag;
    const auto archive = open(test::rawArchive({{"a", "1"}, encrypted, {"c", "3"}}));
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
    auto entries = archive->makeIterator();
    EXPECT_TRUE(entries.next());
    EXPECT_EQ(entries.end(), End::notYet);
    EXPECT_FALSE(entries.next());
    EXPECT_EQ(entries.end(), End::encryptedEntry);
    EXPECT_EQ(entries.recordsRead(), 2U);
    EXPECT_FALSE(entries.next()) << "an ended sequence stays ended";
}

TEST_P(Opening, ADamagedDirectoryShortensTheSequence) {
    std::string content = test::rawArchive({{"a", "1"}, {"b", "2"}});
    content[content.rfind("PK\1\2")] = 'X';
    const auto archive = open(content);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
    auto entries = archive->makeIterator();
    while (entries.next()) {
    }
    EXPECT_EQ(entries.end(), End::damagedRecord);
}

TEST_P(Opening, ADamagedLocalHeaderShortensTheSequence) {
    std::string content = test::rawArchive({{"a", "1"}, {"b", "2"}});
    content[content.rfind("PK\3\4")] = 'X';
    const auto archive = open(content);
    ASSERT_TRUE(archive);
    auto entries = archive->makeIterator();
    EXPECT_TRUE(entries.next());
    EXPECT_FALSE(entries.next());
    EXPECT_EQ(entries.end(), End::damagedLocalHeader);
}

TEST_P(Opening, MoreEntriesAreNotReadThanTheRecordCounts) {
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

TEST_P(Opening, OfTwoEqualPathsTheFirstIsFound) {
    const auto archive = open(test::rawArchive({{"a", "first"}, {"a", "other"}}));
    ASSERT_TRUE(archive);
    EXPECT_EQ((*archive)["a"]->checksum(), bytes("first").crc32(0));
}

TEST_P(Opening, LookUpDecodesWithThePreferredEncoding) {
    test::RawEntry entry{"\x81", "1"};
    entry.flags = 0;
    const std::string content = test::rawArchive({entry});
    EXPECT_TRUE((*open(content))["\xC3\xBC"]) << "code page 437 where nothing else is said";
    const auto archive = open(content, AccessMode::read, TextEncoding::utf8);
    EXPECT_FALSE((*archive)["\xC3\xBC"]);
    EXPECT_TRUE((*archive)[""]) << "no valid UTF-8: the empty path";
}

TEST_P(Opening, DataDescriptorsAreReadBehindTheData) {
    test::RawEntry stored{"stored", "content"};
    stored.flags |= archive::dataDescriptorFlag;
    Data descriptor;
    descriptor.appendValue(archive::dataDescriptorStructSignature);
    descriptor.appendValue(stored.checksum);
    descriptor.appendValue(std::uint32_t{7});
    descriptor.appendValue(std::uint32_t{7});
    stored.trailer = descriptor.text();
    test::RawEntry deflated = test::rawDeflated("deflated", std::string(1000, 'x'));
    deflated.flags |= archive::dataDescriptorFlag;
    deflated.trailer = stored.trailer;
    const auto archive = open(test::rawArchive({stored, deflated}));
    ASSERT_TRUE(archive);
    for (const Entry &entry : *archive) {
        ASSERT_TRUE(entry.dataDescriptor()) << entry.path();
        EXPECT_EQ(entry.dataDescriptor()->uncompressedSize, 7U);
        EXPECT_EQ(entry.checksum(), stored.checksum);
        EXPECT_FALSE(entry.zip64DataDescriptor());
    }
}

/// A position that wraps at 2^64 would lead back to the descriptor.
TEST_P(Opening, ADescriptorWhosePositionDoesNotFitIsAbsent) {
    Data bytesOfDescriptor;
    bytesOfDescriptor.appendValue(archive::dataDescriptorStructSignature);
    bytesOfDescriptor.appendValue(std::uint32_t{0x12345678});
    bytesOfDescriptor.appendValue(std::uint64_t{7});
    bytesOfDescriptor.appendValue(std::uint64_t{7});
    archive::LocalFileHeader header;
    header.generalPurposeBitFlag = archive::dataDescriptorFlag | archive::utf8PathFlag;
    header.fileNameLength = 1;
    header.fileNameData = bytes("a");
    header.compressedSize = header.uncompressedSize = archive::maxUInt32;
    Data data = bytesOfDescriptor; // at 0
    const auto headerOffset = static_cast<std::uint32_t>(data.size());
    data.append(header.data());
    archive::ZIP64ExtendedInformation field;
    field.dataSize = 16;
    field.compressedSize = field.uncompressedSize = 0 - std::uint64_t{data.size()};
    const Data record =
        archive::CentralDirectoryStructure::from(header, 0100644U << 16U, headerOffset, field)
            .data();
    archive::EndOfCentralDirectoryRecord end;
    end.totalNumberOfEntriesOnDisk = end.totalNumberOfEntriesInCentralDirectory = 1;
    end.sizeOfCentralDirectory = static_cast<std::uint32_t>(record.size());
    end.offsetToStartOfCentralDirectory = static_cast<std::uint32_t>(data.size());
    data.append(record);
    data.append(end.data());
    const auto archive = open(std::string(data.text()));
    ASSERT_TRUE(archive);
    const auto entry = archive->makeIterator().next();
    ASSERT_TRUE(entry);
    EXPECT_FALSE(entry->zip64DataDescriptor());
}

/// A ZIP64 record with its locator, and `gap` bytes between the two.
std::string withZIP64(const std::string &content, std::uint64_t count, std::size_t gap) {
    const std::size_t end = content.size() - 22;
    const auto plain = archive::EndOfCentralDirectoryRecord::make(
        bytes(content.substr(end)), [](std::size_t) { return std::span<const std::byte>(); });
    archive::ZIP64EndOfCentralDirectory zip64;
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

TEST_P(Opening, ZIP64TotalsWinWithoutSentinels) {
    const auto archive = open(withZIP64(test::rawArchive({{"a", "1"}, {"b", "2"}}), 1, 0));
    ASSERT_TRUE(archive);
    ASSERT_TRUE(archive->zip64EndOfCentralDirectory());
    EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 1U);
    EXPECT_THAT(paths(*archive), ElementsAre("a"));
}

TEST_P(Opening, AZIP64RecordThatIsNotBeforeItsLocatorIsIgnored) {
    const auto archive = open(withZIP64(test::rawArchive({{"a", "1"}, {"b", "2"}}), 1, 4));
    ASSERT_TRUE(archive);
    EXPECT_FALSE(archive->zip64EndOfCentralDirectory());
    EXPECT_THAT(paths(*archive), ElementsAre("a", "b"));
}

TEST_P(Opening, ADirectoryFarBehindTheEndIteratesAsEmpty) {
    std::string content = test::rawArchive({{"a", "1"}});
    content.replace(content.size() - 6, 4, "\xFE\xFF\xFF\xFF");
    const auto archive = open(content);
    ASSERT_TRUE(archive);
    EXPECT_THAT(paths(*archive), IsEmpty());
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

TEST(Creating, InMemoryStartsEmptyWhateverTheBytes) {
    const auto archive = Archive::make(bytes("anything"), AccessMode::create);
    ASSERT_TRUE(archive);
    EXPECT_EQ(archive->data()->text(), emptyArchive);
    EXPECT_TRUE(archive->isMemory());
}

TEST(OpeningErrors, ACancelledSearchIsNoDamage) {
    const auto progress = archive::Progress::make();
    const test::TemporaryFolder folder;
    test::writeFile(folder / "no.zip", std::string(10'000'000, 'x'));
    const auto errorCode = [&](const auto &what) {
        try {
            static_cast<void>(Archive::open(what, AccessMode::read, std::nullopt, progress));
        } catch (const Error &error) {
            return error.code();
        }
        return std::error_code();
    };
    EXPECT_EQ(errorCode(folder.url("no.zip")), Archive::ArchiveError::unreadableArchive);
    progress->cancel();
    EXPECT_EQ(errorCode(folder.url("no.zip")), Archive::ArchiveError::cancelledOperation);
    EXPECT_EQ(errorCode(Data(std::string_view("short"))), Archive::ArchiveError::unreadableArchive);
    EXPECT_EQ(errorCode(bytes(std::string(1000, 'x'))), Archive::ArchiveError::cancelledOperation);
}

TEST(OpeningErrors, SayWhatIsWrong) {
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
    EXPECT_EQ(Archive::version(20), Archive::Version::v20);
    EXPECT_EQ(Archive::version(45), Archive::Version::v45);
    EXPECT_FALSE(Archive::version(46));
}

} // namespace

} // namespace vellomir::archive
