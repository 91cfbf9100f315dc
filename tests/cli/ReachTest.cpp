#include "cli/Reach.h"

#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace vellomir::cli {

using archive::Archive;
using End = Archive::EntryIterator::End;

namespace {

const std::vector<test::RawEntry> three = {
    {.name = "a", .data = "1"}, {.name = "b", .data = "2"}, {.name = "c", .data = "3"}};

std::string warning(const std::string &bytes) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", bytes);
    const auto opened = Archive::open(folder.url("a.zip"), Archive::AccessMode::read);
    return cli::shortfall(cli::findReach(*opened)).value_or("");
}

TEST(Reach, CompleteArchiveHasNoWarning) {
    EXPECT_EQ(warning(test::rawArchive(three)), "");
    EXPECT_EQ(warning(test::rawArchive({})), "");
}

TEST(Reach, StopsAtEncryptedEntry) {
    auto entries = three;
    entries[1].flags |= archive::encryptedFlag;
    EXPECT_EQ(warning(test::rawArchive(entries)),
              "the directory promises 3 entries, 1 could be reached: entry 2 is encrypted");
}

TEST(Reach, StopsAtDamagedRecord) {
    std::string bytes = test::rawArchive(three);
    const std::size_t third = bytes.rfind(std::string("PK\1\2"));
    bytes[third] = 'X';
    EXPECT_EQ(warning(bytes), "the directory promises 3 entries, 2 could be reached: the "
                              "directory's record 3 is damaged");
}

TEST(Reach, StopsAtMissingLocalHeader) {
    std::string bytes = test::rawArchive(three);
    bytes[0] = 'X';
    EXPECT_EQ(warning(bytes), "the directory promises 3 entries, 0 could be reached: there is no "
                              "local header where the directory's record 1 says");
}

/// The archive of three entries with another count in its end record.
std::string counting(char entries) {
    std::string bytes = test::rawArchive(three);
    const std::size_t end = bytes.rfind(std::string("PK\5\6"));
    bytes[end + 8] = entries;
    bytes[end + 10] = entries;
    return bytes;
}

TEST(Reach, RecordsBeyondCountAreReported) {
    EXPECT_EQ(warning(counting(1)), "the directory holds 3 entries, 1 could be reached: the end "
                                    "record counts no more");
    EXPECT_EQ(warning(counting(0)), "the directory holds 3 entries, 0 could be reached: the end "
                                    "record counts no more");
    EXPECT_EQ(warning(counting(3)), "");
}

TEST(Reach, OtherBytesBeyondCountAreIgnored) {
    std::string bytes = test::rawArchive(three);
    const std::size_t end = bytes.rfind(std::string("PK\5\6"));
    bytes.insert(end, std::string("PK\5\5\4\0abcd", 10)); // a digital signature
    bytes[end + 10 + 12] = static_cast<char>(bytes[end + 10 + 12] + 10);
    EXPECT_EQ(warning(bytes), "");
}

TEST(Reach, PrependedBytesAreReported) {
    EXPECT_EQ(warning("#!/bin/sh\n" + test::rawArchive(three)),
              "the directory promises 3 entries, 0 could be reached: something stands in front of "
              "the archive in its file (10 bytes)");
}

TEST(Reach, MissingBytesAreReported) {
    EXPECT_EQ(warning(test::rawArchive(three).substr(10)),
              "the directory promises 3 entries, 0 could be reached: the directory does not fit in "
              "front of the end record");
}

} // namespace

} // namespace vellomir::cli
