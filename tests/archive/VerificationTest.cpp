#include "archive/Verification.h"

#include "tests/support/Errors.h"
#include "tests/support/RawArchive.h"
#include "tests/support/RecordArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using Kind = FindingKind;

void PrintTo(const Finding &finding, std::ostream *out) {
    struct Printer {
        std::ostream &out;
        void operator()(std::monostate /*nothing*/) const { out << " -"; }
        void operator()(std::uint64_t number) const { out << ' ' << number; }
        void operator()(Date date) const { out << " date " << date.timeIntervalSince1970; }
        void operator()(const std::string &text) const { out << " \"" << text << '"'; }
    };
    *out << "kind " << static_cast<int>(finding.kind);
    if (finding.entry)
        *out << " in " << finding.entry->index << " \"" << finding.entry->path << '"';
    std::visit(Printer{*out}, finding.expected);
    std::visit(Printer{*out}, finding.found);
}

namespace {

using Findings = std::vector<Finding>;

Findings findingsOf(const Archive &archive) {
    Findings found;
    static_cast<void>(verify(archive, [&](const Finding &finding) { found.push_back(finding); }));
    return found;
}

std::unique_ptr<Archive> opened(const std::string &bytes) {
    return Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read);
}

Findings findings(const std::string &bytes) {
    return findingsOf(*opened(bytes));
}

FindingValue number(std::uint64_t value) {
    return value;
}

/// A finding about the entry of this index and name.
Finding in(std::uint64_t index, const std::string &name, Kind kind, FindingValue expected = {},
           FindingValue found = {}) {
    return {kind, FoundEntry{index, name, name}, std::move(expected), std::move(found)};
}

Finding inArchive(Kind kind, FindingValue expected = {}, FindingValue found = {}) {
    return {kind, std::nullopt, std::move(expected), std::move(found)};
}

void patch(std::string &bytes, std::size_t offset, const std::string &with) {
    bytes.replace(offset, with.size(), with);
}

CRC32 checksumOf(std::string_view content) {
    return Data::crc32(Data(content), 0);
}

std::string descriptor(const std::string &content) {
    Data bytes;
    bytes.appendValue(dataDescriptorStructSignature);
    bytes.appendValue(checksumOf(content));
    bytes.appendValue(static_cast<std::uint32_t>(content.size()));
    bytes.appendValue(static_cast<std::uint32_t>(content.size()));
    return std::string(bytes.text());
}

const test::RawEntry first = {.name = "first", .data = "12345"};
const test::RawEntry last = {.name = "last", .data = "67890"};
constexpr std::uint64_t headerSize = 30;
constexpr std::uint64_t recordSize = 46;

TEST(Verification, GoodArchivesHaveNoFindings) {
    EXPECT_THAT(findings(test::rawArchive({})), IsEmpty());
    EXPECT_THAT(findings(test::rawArchive({test::rawDirectory("d/"), first, test::rawLink("l", "d"),
                                           test::rawDeflated("z", std::string(200'000, 'z')),
                                           test::rawDeflated("empty", "")},
                                          "a comment")),
                IsEmpty());
}

TEST(Verification, ReturnsNumberOfRecords) {
    const std::string bytes = test::rawArchive({first, last});
    const auto archive = Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read);
    EXPECT_EQ(verify(*archive, [](const Finding &) {}), 2U);
}

TEST(Verification, WrongChecksumIsFound) {
    test::RawEntry wrong = first;
    wrong.checksum = 1;
    EXPECT_THAT(findings(test::rawArchive({wrong, last})),
                ElementsAre(in(0, "first", Kind::dataChecksumDiffers, number(1),
                               number(checksumOf("12345")))));
}

TEST(Verification, DamagedDataIsFound) {
    test::RawEntry damaged = test::rawDeflated("first", std::string(1000, 'z'));
    damaged.data[0] = '\xff';
    EXPECT_THAT(findings(test::rawArchive({damaged, last})),
                ElementsAre(in(0, "first", Kind::dataIsUnreadable, {},
                               std::string("The compressed data is damaged"))));

    test::RawEntry unfinished = test::rawDeflated("first", std::string(1000, 'z'));
    unfinished.data.pop_back();
    const Findings found = findings(test::rawArchive({unfinished}));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].kind, Kind::dataIsUnreadable);
    EXPECT_THAT(std::get<std::string>(found[0].found), testing::HasSubstr("ends too early"));
}

TEST(Verification, WrongSizesAreFound) {
    test::RawEntry longer = test::rawDeflated("first", std::string(1000, 'z'));
    longer.uncompressedSize = 1001;
    EXPECT_THAT(findings(test::rawArchive({longer})),
                ElementsAre(in(0, "first", Kind::dataSizeDiffers, number(1001), number(1000))));

    test::RawEntry shorter = test::rawDeflated("first", std::string(1'000'000, 'z'));
    shorter.uncompressedSize = 999;
    EXPECT_THAT(findings(test::rawArchive({shorter})),
                ElementsAre(in(0, "first", Kind::dataIsTooLong, number(999))));

    test::RawEntry stored = first;
    stored.uncompressedSize = 4;
    EXPECT_THAT(findings(test::rawArchive({stored})),
                ElementsAre(in(0, "first", Kind::dataSizeDiffers, number(4), number(5))));
}

TEST(Verification, BytesAfterCompressedDataAreFound) {
    test::RawEntry entry = test::rawDeflated("first", std::string(1000, 'z'));
    const std::uint64_t size = entry.data.size();
    entry.data += "xyz";
    EXPECT_THAT(
        findings(test::rawArchive({entry})),
        ElementsAre(in(0, "first", Kind::dataIsFollowedByBytes, number(size + 3), number(size))));
}

TEST(Verification, EveryDifferenceOfLocalHeaderIsFound) {
    // The first record is at offset 0; the offsets of its fields are those of the format.
    const std::uint64_t checksum = checksumOf(first.data);
    const auto date = [](std::uint16_t time) { return Date::fromDateTime({0, time}); };
    const std::vector<std::tuple<std::size_t, std::string, Finding>> cases = {
        {4, "\x0a", in(0, "first", Kind::localVersionDiffers, number(20), number(10))},
        {6, "\x02", in(0, "first", Kind::localFlagsDiffer, number(2048), number(2050))},
        {14, "\x01",
         in(0, "first", Kind::localChecksumDiffers, number(checksum),
            number((checksum & ~std::uint64_t{0xFF}) | 1U))},
        {18, "\x06", in(0, "first", Kind::localCompressedSizeDiffers, number(5), number(6))},
        {22, "\x07", in(0, "first", Kind::localUncompressedSizeDiffers, number(5), number(7))},
        {30, "F",
         in(0, "first", Kind::localNameDiffers, std::string("first"), std::string("First"))},
    };
    for (const auto &[offset, bytes, finding] : cases) {
        std::string archive = test::rawArchive({first, last});
        patch(archive, offset, bytes);
        EXPECT_THAT(findings(archive), ElementsAre(finding)) << offset;
    }
    test::RecordEntry entry("first", "12345");
    entry.record.lastModFileDate = entry.header.lastModFileDate = 0;
    entry.record.lastModFileTime = 0;
    entry.header.lastModFileTime = 32;
    EXPECT_THAT(findings(test::recordArchive({entry})),
                ElementsAre(in(0, "first", Kind::localDateDiffers, date(0), date(32))));
}

TEST(Verification, DifferentMethodsAreFound) {
    test::RawEntry entry = first;
    entry.directoryMethod = 8;
    EXPECT_THAT(findings(test::rawArchive({entry})),
                ElementsAre(in(0, "first", Kind::localMethodDiffers, number(8), number(0))));
    entry.method = entry.directoryMethod = 12;
    EXPECT_THAT(findings(test::rawArchive({entry})),
                ElementsAre(in(0, "first", Kind::methodIsUnsupported, {}, number(12))));
}

TEST(Verification, DescriptorsAreCompared) {
    test::RawEntry entry = first;
    entry.flags |= dataDescriptorFlag;
    entry.trailer = descriptor(entry.data);
    EXPECT_THAT(findings(test::rawArchive({entry, last})), IsEmpty());
    entry.trailer = descriptor(entry.data).substr(4);
    EXPECT_THAT(findings(test::rawArchive({entry, last})), IsEmpty()) << "no signature";
    entry.trailer[4] = 6;
    EXPECT_THAT(
        findings(test::rawArchive({entry, last})),
        ElementsAre(in(0, "first", Kind::descriptorCompressedSizeDiffers, number(5), number(6))));
}

TEST(Verification, EntriesAfterUnreadableRecordAreVerified) {
    test::RawEntry encrypted = first;
    encrypted.flags |= encryptedFlag;
    test::RawEntry wrong = last;
    wrong.checksum = 1;
    const Finding second =
        in(1, "last", Kind::dataChecksumDiffers, number(1), number(checksumOf("67890")));
    EXPECT_THAT(findings(test::rawArchive({encrypted, wrong})),
                ElementsAre(in(0, "first", Kind::dataIsEncrypted), second));

    std::string headless = test::rawArchive({first, wrong});
    headless[0] = 'X';
    EXPECT_THAT(findings(headless),
                ElementsAre(in(0, "first", Kind::localHeaderIsMissing, number(0)), second));
}

TEST(Verification, EntriesThatShareBytesAreFound) {
    std::string bytes = test::rawArchive({first, last});
    const std::size_t record = bytes.rfind("PK\1\2");
    patch(bytes, record + 42, std::string(4, '\0')); // the local header offset of the second entry
    EXPECT_THAT(findings(bytes),
                Contains(in(1, "last", Kind::entryOverlapsAnother, {}, number(0))));
}

TEST(Verification, EntriesThatReachIntoDirectoryAreFound) {
    std::string bytes = test::rawArchive({last});
    const std::size_t record = bytes.rfind("PK\1\2");
    bytes[18] = bytes[22] = 6; // compressed size and size: one byte more than there is
    bytes[record + 20] = bytes[record + 24] = 6;
    EXPECT_THAT(findings(bytes), Contains(in(0, "last", Kind::entryReachesIntoDirectory,
                                             number(record), number(record + 1))));
}

TEST(Verification, DataBeyondEndOfFileIsFound) {
    test::RecordEntry cut("a", "12345");
    cut.header.compressedSize = cut.record.compressedSize = 10'000;
    cut.header.uncompressedSize = cut.record.uncompressedSize = 10'000;
    cut.header.generalPurposeBitFlag |= dataDescriptorFlag;
    cut.record.generalPurposeBitFlag |= dataDescriptorFlag;
    const std::string bytes = test::recordArchive({cut});
    EXPECT_THAT(findings(bytes), Contains(in(0, "a", Kind::descriptorIsMissing)));
    EXPECT_THAT(findings(bytes), Contains(in(0, "a", Kind::dataIsCutShort, number(10'000),
                                             number(bytes.size() - headerSize - 1))));
}

TEST(Verification, UnlistedEntriesAreFound) {
    std::string bytes = test::rawArchive({first, last});
    const std::size_t record = bytes.find("PK\1\2");
    bytes.erase(record, recordSize + 5);
    const std::size_t end = bytes.rfind("PK\5\6");
    patch(bytes, end + 8, std::string("\1\0\1\0", 4));
    bytes[end + 12] = static_cast<char>(bytes[end + 12] - static_cast<char>(recordSize + 5));
    EXPECT_THAT(findings(bytes),
                ElementsAre(inArchive(Kind::entryIsNotInDirectory, {}, number(0))));
}

TEST(Verification, WrongDirectorySizesAreFound) {
    const std::string bytes = test::rawArchive({first, last});
    const std::size_t end = bytes.rfind("PK\5\6");
    std::string shorter = bytes;
    patch(shorter, end + 8, std::string("\3\0\3\0", 4));
    EXPECT_THAT(findings(shorter),
                ElementsAre(inArchive(Kind::directoryEndsEarly, number(3), number(2))));
    std::string longer = bytes;
    patch(longer, end + 8, std::string("\1\0\1\0", 4));
    EXPECT_THAT(findings(longer),
                ElementsAre(inArchive(Kind::entryIsNotInDirectory, {}, number(headerSize + 10)),
                            inArchive(Kind::directorySizeDiffers, number(2 * recordSize + 9),
                                      number(recordSize + 5))));
}

TEST(Verification, DifferentCountsAreFound) {
    std::string bytes = test::rawArchive({first, last});
    bytes[bytes.rfind("PK\5\6") + 8] = 1;
    EXPECT_THAT(findings(bytes),
                ElementsAre(inArchive(Kind::endRecordCountsDiffer, number(2), number(1))));
}

TEST(Verification, ContradictingEndRecordsAreFound) {
    const std::string bytes = test::rawArchive({first, last});
    const std::size_t end = bytes.rfind("PK\5\6");
    ZIP64EndOfCentralDirectory zip64;
    zip64.record.sizeOfZIP64EndOfCentralDirectoryRecord = 44;
    zip64.record.versionNeededToExtract = 45;
    zip64.record.totalNumberOfEntriesInCentralDirectory = 1;
    zip64.record.totalNumberOfEntriesOnDisk = 1;
    zip64.locator.relativeOffsetOfZIP64EOCDRecord = end;
    EXPECT_THAT(
        findings(bytes.substr(0, end) + std::string(zip64.data().text()) + bytes.substr(end)),
        Contains(inArchive(Kind::endRecordsCountsDiffer, number(1), number(2))));
}

TEST(Verification, DisplacedDirectoriesAreFound) {
    const std::string bytes = test::rawArchive({first});
    const std::uint64_t offset = bytes.find("PK\1\2");
    EXPECT_THAT(findings("xyz" + bytes), Contains(inArchive(Kind::directoryIsDisplaced,
                                                            number(offset), number(offset + 3))));
    EXPECT_THAT(findings(bytes.substr(10)),
                Contains(inArchive(Kind::directoryDoesNotFit, number(offset))));
}

TEST(Verification, FoldersWithDataAreFound) {
    test::RawEntry folder = test::rawDirectory("d/");
    folder.data = "1";
    folder.uncompressedSize = 1;
    folder.checksum = checksumOf("1");
    EXPECT_THAT(findings(test::rawArchive({folder})),
                ElementsAre(in(0, "d/", Kind::folderHoldsData, number(0), number(1))));
}

TEST(Verification, InvalidNamesAreGivenAsBytes) {
    test::RawEntry wrong = {.name = "a\xff", .data = "1"};
    EXPECT_THAT(findings(test::rawArchive({wrong})),
                ElementsAre(Finding{Kind::pathIsNotText, FoundEntry{0, "", "a\xff"}}));
}

TEST(Verification, PreferredEncodingDecodesPaths) {
    test::RawEntry entry = {.name = "\x81", .data = "1"}; // ü in code page 437
    entry.checksum = 1;
    const std::string bytes = test::rawArchive({entry});
    const auto archive = Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read,
                                       TextEncoding::codePage437);
    const Findings found = findingsOf(*archive);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].entry, (FoundEntry{0, "\xC3\xBC", "\x81"}));
}

TEST(Verification, LinksThatExtractionRefusesAreFound) {
    test::RawEntry link = test::rawDeflated("l", "target");
    link.attributes = 0120777U << 16U;
    EXPECT_THAT(findings(test::rawArchive({link})),
                ElementsAre(in(0, "l", Kind::linkIsCompressed, number(0), number(8))));
    EXPECT_THAT(findings(test::rawArchive({test::rawLink("l", "")})),
                ElementsAre(in(0, "l", Kind::linkHasNoTarget)));
    EXPECT_THAT(findings(test::rawArchive({test::rawLink("l", std::string(4095, 't'))})),
                IsEmpty());
    EXPECT_THAT(findings(test::rawArchive({test::rawLink("l", std::string(4096, 't'))})),
                ElementsAre(in(0, "l", Kind::linkTargetIsTooLong, number(4095), number(4096))));
    for (const std::string &target : {std::string("\xff"), std::string("a\0b", 3)})
        EXPECT_THAT(findings(test::rawArchive({test::rawLink("l", target)})),
                    ElementsAre(in(0, "l", Kind::linkTargetIsNotText)));
}

/// Two literal codes of two bits each. Other readers refuse such an incomplete set; some codecs
/// accept it.
TEST(Verification, IncompleteSetOfCodesIsFound) {
    test::RawEntry entry = {.name = "a", .data = "aaaaa", .method = 8};
    entry.data = std::string("\x05\x80\x81\x08\x00\x00\x00\x80\x58\xf7\x97\x38\x00\x04", 14);
    entry.uncompressedSize = 5;
    entry.checksum = checksumOf("aaaaa");
    EXPECT_THAT(findings(test::rawArchive({entry})),
                ElementsAre(in(0, "a", Kind::dataIsUnreadable, {},
                               std::string("The compressed data is damaged"))));
}

TEST(Verification, ArchiveChangedByAnotherProgramIsRefused) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", test::rawArchive({first, last}));
    const auto archive = Archive::open(folder.url("a.zip"), Archive::AccessMode::read);
    test::writeFile(folder / "a.zip", test::rawArchive({first}, "other"));
    const Error error = test::thrownBy([&] { static_cast<void>(findingsOf(*archive)); });
    EXPECT_EQ(error.code(), Archive::ArchiveError::unreadableArchive);
    EXPECT_EQ(error.path(), (folder / "a.zip").string());
}

TEST(Verification, ForeignArchivesHaveExpectedFindings) {
    const fs::path corpus = fs::path(VELLOMIR_CORPORA) / "malo/zip";
    if (!fs::exists(corpus))
        GTEST_SKIP() << "there are no foreign archives here";
    // What cannot be opened at all has no findings.
    const auto isGood = [](const fs::path &path) {
        const auto archive = Archive::make(URL::file(path.string()), Archive::AccessMode::read);
        return archive && findingsOf(*archive).empty();
    };
    int count = 0;
    for (const auto &file : fs::directory_iterator(corpus / "reject")) {
        EXPECT_FALSE(isGood(file.path())) << file.path();
        ++count;
    }
    for (const char *name :
         {"comment", "deflate", "normal_deflate", "normal_deflate_zip64_extra", "store", "subdir"})
        EXPECT_TRUE(isGood(corpus / "accept" / (std::string(name) + ".zip"))) << name;
    EXPECT_GT(count, 10);
}

} // namespace

} // namespace vellomir::archive
