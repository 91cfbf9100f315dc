#include "cli/ArchiveTest.h"

#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

std::vector<Problem> problemsOf(const fs::path &path) {
    std::vector<Problem> found;
    const auto progress = archive::Progress::make();
    cli::ArchiveTest test(
        path.string(), false, [&](const Problem &problem) { found.push_back(problem); }, progress);
    static_cast<void>(test.run());
    return found;
}

std::vector<Problem> problems(const std::string &bytes) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", bytes);
    return problemsOf(folder / "a.zip");
}

void patch(std::string &bytes, std::size_t offset, const std::string &with) {
    bytes.replace(offset, with.size(), with);
}

auto is(const std::string &entry, const std::string &text) {
    return testing::AllOf(Field(&Problem::entry, entry), Field(&Problem::problem, HasSubstr(text)));
}

std::string descriptor(const std::string &content) {
    archive::DataDescriptor value;
    archive::Data bytes;
    bytes.appendValue(archive::dataDescriptorStructSignature);
    bytes.appendValue(archive::Data(std::string_view(content)).crc32(0));
    bytes.appendValue(static_cast<std::uint32_t>(content.size()));
    bytes.appendValue(static_cast<std::uint32_t>(content.size()));
    return std::string(bytes.text());
}

const test::RawEntry first = {.name = "first", .data = "12345"};
const test::RawEntry last = {.name = "last", .data = "67890"};

TEST(ArchiveTest, FindsNothingWrongWithGoodArchives) {
    EXPECT_THAT(problems(test::rawArchive({})), IsEmpty());
    EXPECT_THAT(problems(test::rawArchive({test::rawDirectory("d/"), first, test::rawLink("l", "d"),
                                           test::rawDeflated("z", std::string(200'000, 'z')),
                                           test::rawDeflated("empty", "")},
                                          "a comment")),
                IsEmpty());
}

TEST(ArchiveTest, FindsWrongData) {
    test::RawEntry wrong = first;
    wrong.checksum = 1;
    EXPECT_THAT(problems(test::rawArchive({wrong, last})),
                ElementsAre(is("first", "the data has the checksum cbf53a1c, not 00000001")));

    test::RawEntry damaged = test::rawDeflated("first", std::string(1000, 'z'));
    damaged.data[0] = '\xff';
    EXPECT_THAT(problems(test::rawArchive({damaged, last})), ElementsAre(is("first", "damaged")));
}

TEST(ArchiveTest, FindsWrongSizes) {
    test::RawEntry longer = test::rawDeflated("first", std::string(1000, 'z'));
    longer.uncompressedSize = 1001;
    EXPECT_THAT(problems(test::rawArchive({longer})),
                ElementsAre(is("first", "it unpacks to 1000 bytes, not the 1001 bytes")));

    test::RawEntry shorter = test::rawDeflated("first", std::string(1'000'000, 'z'));
    shorter.uncompressedSize = 999;
    EXPECT_THAT(problems(test::rawArchive({shorter})),
                ElementsAre(is("first", "it unpacks to more than the 999 bytes")));

    test::RawEntry stored = first;
    stored.uncompressedSize = 4;
    EXPECT_THAT(problems(test::rawArchive({stored})),
                ElementsAre(is("first", "it unpacks to 5 bytes, not the 4 bytes")));
}

TEST(ArchiveTest, FindsBytesAfterCompressedData) {
    test::RawEntry entry = test::rawDeflated("first", std::string(1000, 'z'));
    entry.data += "xyz";
    EXPECT_THAT(problems(test::rawArchive({entry})),
                ElementsAre(is("first", "3 bytes behind the end of the compressed data")));
}

TEST(ArchiveTest, FindsEndlessCompressedData) {
    test::RawEntry entry = test::rawDeflated("first", std::string(1000, 'z'));
    entry.data.pop_back();
    EXPECT_THAT(problems(test::rawArchive({entry})), ElementsAre(is("first", "ends too early")));
}

TEST(ArchiveTest, FindsEveryDifferenceOfTheLocalHeader) {
    // The first record is at offset 0; the offsets of its fields are those of the format.
    const std::vector<std::tuple<std::size_t, std::string, std::string>> cases = {
        {4, "\x0a", "the version is 10 in the local header, 20 in the directory"},
        {6, "\x02", "the flag word is 2050 in the local header, 2048 in the directory"},
        {10, "\x01", "the date is "},
        {14, "\x01", "the checksum is cbf53a01 in the local header, cbf53a1c in the directory"},
        {18, "\x06", "the compressed size is 6 in the local header, 5 in the directory"},
        {22, "\x07", "the size is 7 in the local header, 5 in the directory"},
        {30, "F", "the name is \"First\" in the local header, \"first\" in the directory"},
    };
    for (const auto &[offset, bytes, text] : cases) {
        std::string archive = test::rawArchive({first, last});
        patch(archive, offset, bytes);
        EXPECT_THAT(problems(archive), ElementsAre(is("first", text)));
    }
}

TEST(ArchiveTest, FindsADifferentMethod) {
    test::RawEntry entry = first;
    entry.directoryMethod = 8;
    EXPECT_THAT(problems(test::rawArchive({entry})),
                ElementsAre(is("first", "the method is none in the local header, deflate in")));
    entry.method = entry.directoryMethod = 12;
    EXPECT_THAT(problems(test::rawArchive({entry})),
                ElementsAre(is("first", "method 12 is not supported")));
}

TEST(ArchiveTest, FindsWrongDescriptors) {
    test::RawEntry entry = first;
    entry.flags |= archive::dataDescriptorFlag;
    entry.trailer = descriptor(entry.data);
    EXPECT_THAT(problems(test::rawArchive({entry, last})), IsEmpty());
    entry.trailer = descriptor(entry.data).substr(4);
    EXPECT_THAT(problems(test::rawArchive({entry, last})), IsEmpty()) << "no signature";
    entry.trailer[4] = 6;
    EXPECT_THAT(problems(test::rawArchive({entry, last})),
                ElementsAre(is("first", "the compressed size is 6 in the data descriptor, 5")));
}

TEST(ArchiveTest, ChecksEntriesBeyondUnreadableRecord) {
    test::RawEntry encrypted = first;
    encrypted.flags |= archive::encryptedFlag;
    test::RawEntry wrong = last;
    wrong.checksum = 1;
    EXPECT_THAT(problems(test::rawArchive({encrypted, wrong})),
                ElementsAre(is("first", "encrypted"), is("last", "checksum")));

    std::string headless = test::rawArchive({first, wrong});
    headless[0] = 'X';
    EXPECT_THAT(problems(headless),
                ElementsAre(is("first", "no local header where the directory says, at 0"),
                            is("last", "checksum")));
}

TEST(ArchiveTest, FindsEntriesThatShareBytes) {
    std::string bytes = test::rawArchive({first, last});
    const std::size_t record = bytes.rfind("PK\1\2");
    patch(bytes, record + 42, std::string(4, '\0')); // the local header offset of the second entry
    EXPECT_THAT(problems(bytes), Contains(is("last", "it overlaps another entry")));
}

TEST(ArchiveTest, FindsEntriesThatAreNotListed) {
    std::string bytes = test::rawArchive({first, last});
    const std::size_t record = bytes.find("PK\1\2");
    bytes.erase(record, 46 + 5);
    const std::size_t end = bytes.rfind("PK\5\6");
    patch(bytes, end + 8, std::string("\1\0\1\0", 4));
    bytes[end + 12] = static_cast<char>(bytes[end + 12] - (46 + 5));
    EXPECT_THAT(problems(bytes), ElementsAre(is("", "the entry at 0 is not in the directory")));
}

TEST(ArchiveTest, FindsWrongDirectorySize) {
    std::string bytes = test::rawArchive({first, last});
    const std::size_t end = bytes.rfind("PK\5\6");
    std::string shorter = bytes;
    patch(shorter, end + 8, std::string("\3\0\3\0", 4));
    EXPECT_THAT(problems(shorter),
                ElementsAre(is("", "promises 3 entries, but its record 3 is damaged or missing")));
    std::string longer = bytes;
    patch(longer, end + 8, std::string("\1\0\1\0", 4));
    EXPECT_THAT(problems(longer),
                ElementsAre(is("", "is not in the directory"), is("", "records take 51 bytes")));
}

TEST(ArchiveTest, FindsDifferentEntryCounts) {
    std::string bytes = test::rawArchive({first, last});
    bytes[bytes.rfind("PK\5\6") + 8] = 1;
    EXPECT_THAT(problems(bytes), ElementsAre(is("", "two numbers of entries")));
}

TEST(ArchiveTest, FindsPrependedBytes) {
    EXPECT_THAT(problems("xyz" + test::rawArchive({first})),
                Contains(is("", "the directory lies 3 bytes behind")));
}

TEST(ArchiveTest, FindsFoldersWithData) {
    test::RawEntry folder = test::rawDirectory("d/");
    folder.data = "1";
    folder.uncompressedSize = 1;
    folder.checksum = archive::Data(std::string_view("1")).crc32(0);
    EXPECT_THAT(problems(test::rawArchive({folder})),
                ElementsAre(is("d/", "it is a folder, but it holds data")));
}

TEST(ArchiveTest, InvalidNamesAreShownAsBytes) {
    test::RawEntry wrong = {.name = "a\xff", .data = "1"};
    wrong.checksum = 1;
    EXPECT_THAT(
        problems(test::rawArchive({wrong})),
        ElementsAre(is("a\\xff", "checksum"), is("a\\xff", "its path is not valid UTF-8 text")));
}

TEST(ArchiveTest, FindsPathsThatExtractionRefuses) {
    EXPECT_THAT(problems(test::rawArchive({first, last, first})),
                ElementsAre(is("first", "another entry has the same path")));
    EXPECT_THAT(problems(test::rawArchive({test::rawLink("d", "x"), {.name = "d/a"}})),
                ElementsAre(is("d/a", "its path leads through another entry")));
    EXPECT_THAT(problems(test::rawArchive({{.name = "../a"}})),
                ElementsAre(is("../a", "its path leads out of the folder")));
}

TEST(ArchiveTest, FindsLinksThatExtractionRefuses) {
    test::RawEntry link = test::rawDeflated("l", "target");
    link.attributes = 0120777U << 16U;
    EXPECT_THAT(problems(test::rawArchive({link})),
                ElementsAre(is("l", "it is a link, but its target is compressed")));
    EXPECT_THAT(problems(test::rawArchive({test::rawLink("l", "")})),
                ElementsAre(is("l", "it is a link without a target")));
    EXPECT_THAT(problems(test::rawArchive({test::rawLink("l", std::string(4095, 't'))})),
                IsEmpty());
    EXPECT_THAT(problems(test::rawArchive({test::rawLink("l", std::string(4096, 't'))})),
                ElementsAre(is("l", "its target is longer than 4095 bytes")));
    for (const std::string &target : {std::string("\xff"), std::string("a\0b", 3)})
        EXPECT_THAT(problems(test::rawArchive({test::rawLink("l", target)})),
                    ElementsAre(is("l", "its target is not valid UTF-8 text")));
}

/// Two literal codes of two bits each. Other readers refuse such an incomplete set; some codecs
/// accept it.
TEST(ArchiveTest, FindsAnIncompleteSetOfCodes) {
    test::RawEntry entry = {.name = "a", .data = "aaaaa", .method = 8};
    entry.data = std::string("\x05\x80\x81\x08\x00\x00\x00\x80\x58\xf7\x97\x38\x00\x04", 14);
    entry.uncompressedSize = 5;
    entry.checksum = archive::Data(std::string_view("aaaaa")).crc32(0);
    EXPECT_THAT(problems(test::rawArchive({entry})),
                ElementsAre(is("a", "The compressed data is damaged")));
}

TEST(ArchiveTest, ForeignArchivesHaveExpectedFindings) {
    const fs::path corpus = fs::path(VELLOMIR_CORPORA) / "malo/zip";
    if (!fs::exists(corpus))
        GTEST_SKIP() << "there are no foreign archives here";
    int count = 0;
    for (const auto &file : fs::directory_iterator(corpus / "reject")) {
        EXPECT_THAT(problemsOf(file.path()), Not(IsEmpty())) << file.path();
        ++count;
    }
    for (const char *name : {"comment", "deflate", "normal_deflate", "normal_deflate_zip64_extra",
                             "store", "subdir"}) {
        const fs::path file = corpus / "accept" / (std::string(name) + ".zip");
        EXPECT_THAT(problemsOf(file), IsEmpty()) << file;
    }
    EXPECT_GT(count, 10);
}

} // namespace

} // namespace vellomir::cli
