#include "archive/Archive.h"

#include "tests/support/FailingStream.h"
#include "tests/support/RawArchive.h"

#include <gtest/gtest.h>

namespace vellomir::archive {

using End = Archive::EntryIterator::End;
using Reach = Archive::Reach;

// Printed by GoogleTest when a comparison fails.
void PrintTo(const Reach &reach, std::ostream *out) {
    *out << reach.reached << " of " << reach.promised << ", end " << static_cast<int>(reach.end)
         << ", uncounted " << reach.uncounted << ", displacement " << reach.displacement;
}

namespace {

const std::vector<test::RawEntry> three = {
    {.name = "a", .data = "1"}, {.name = "b", .data = "2"}, {.name = "c", .data = "3"}};

std::unique_ptr<Archive> opened(const std::string &bytes) {
    return Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read);
}

Reach reachOf(const std::string &bytes) {
    return opened(bytes)->reach();
}

/// The archive of three entries with another count in its end record.
std::string counting(char entries) {
    std::string bytes = test::rawArchive(three);
    const std::size_t end = bytes.rfind("PK\5\6");
    bytes[end + 8] = entries;
    bytes[end + 10] = entries;
    return bytes;
}

TEST(Reach, CompleteArchivesAreReachedAsAWhole) {
    EXPECT_EQ(reachOf(test::rawArchive({})), Reach{});
    EXPECT_EQ(reachOf(test::rawArchive(three)), (Reach{.promised = 3, .reached = 3}));
    EXPECT_TRUE(reachOf(test::rawArchive(three)).isComplete());
}

TEST(Reach, UnreadableDataHidesNoEntry) {
    test::FailingStream disk(test::rawArchive(
        {{.name = "a", .data = std::string(100000, 'a')}, {.name = "b", .data = "2"}}));
    disk.damagedFrom = 2000;
    disk.damagedTo = 60000;
    const auto archive = Archive::open(Archive::FilePointer(disk.open()), URL::file("/disk.zip"),
                                       Archive::AccessMode::read);
    std::string paths;
    EXPECT_EQ(archive->reach([&](const Entry &entry) { paths += entry.path(); }),
              (Reach{.promised = 2, .reached = 2}));
    EXPECT_EQ(paths, "ab");
}

TEST(Reach, FindsNearAndFarLocalHeaders) {
    std::vector<test::RawEntry> entries;
    for (int index = 0; index < 200; ++index) // some close to each other, some far apart
        entries.push_back({.name = "entry" + std::to_string(index),
                           .data = std::string(index % 7 == 0 ? 40000 : 10, 'x')});
    std::string bytes = test::rawArchive(entries);
    const auto archive = opened(bytes);
    std::vector<std::uint64_t> offsets;
    for (const Entry &entry : *archive)
        offsets.push_back(entry.dataOffset());
    std::vector<std::uint64_t> found;
    EXPECT_TRUE(archive->reach([&](const Entry &entry) { found.push_back(entry.dataOffset()); })
                    .isComplete());
    EXPECT_EQ(found, offsets);
}

TEST(Reach, VisitsReachedEntriesInOrder) {
    std::string paths;
    std::string bytes = test::rawArchive(three);
    bytes[bytes.rfind("PK\1\2")] = 'X';
    EXPECT_EQ(opened(bytes)->reach([&](const Entry &entry) { paths += entry.path(); }),
              (Reach{.promised = 3, .reached = 2, .end = End::damagedRecord}));
    EXPECT_EQ(paths, "ab");
}

TEST(Reach, EncryptedEntryEndsWalk) {
    auto entries = three;
    entries[1].flags |= encryptedFlag;
    const Reach reach = reachOf(test::rawArchive(entries));
    EXPECT_EQ(reach, (Reach{.promised = 3, .reached = 1, .end = End::encryptedEntry}));
    EXPECT_FALSE(reach.isComplete());
}

TEST(Reach, MissingLocalHeaderEndsWalk) {
    std::string bytes = test::rawArchive(three);
    bytes[0] = 'X';
    EXPECT_EQ(reachOf(bytes), (Reach{.promised = 3, .end = End::damagedLocalHeader}));
}

TEST(Reach, RecordsBeyondCountAreCounted) {
    EXPECT_EQ(reachOf(counting(1)), (Reach{.promised = 1, .reached = 1, .uncounted = 2}));
    EXPECT_EQ(reachOf(counting(0)), (Reach{.uncounted = 3}));
    EXPECT_FALSE(reachOf(counting(0)).isComplete());
    EXPECT_EQ(reachOf(counting(4)),
              (Reach{.promised = 4, .reached = 3, .end = End::damagedRecord}));
}

TEST(Reach, OtherBytesBeyondCountAreNotCounted) {
    std::string bytes = test::rawArchive(three);
    const std::size_t end = bytes.rfind("PK\5\6");
    bytes.insert(end, std::string("PK\5\5\4\0abcd", 10)); // a digital signature
    bytes[end + 10 + 12] = static_cast<char>(bytes[end + 10 + 12] + 10);
    EXPECT_TRUE(reachOf(bytes).isComplete());
}

TEST(Reach, DisplacementIsMeasured) {
    EXPECT_EQ(reachOf("#!/bin/sh\n" + test::rawArchive(three)),
              (Reach{.promised = 3, .end = End::damagedRecord, .displacement = 10}));
    EXPECT_EQ(reachOf(test::rawArchive(three).substr(10)).displacement, -10);
}

TEST(Reach, CancellationEndsWalk) {
    for (const std::string &bytes : {test::rawArchive(three), counting(0)}) {
        const auto progress = Progress::make();
        const auto archive = opened(bytes);
        progress->cancel();
        try {
            static_cast<void>(archive->reach(nullptr, progress));
            ADD_FAILURE() << "not cancelled";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), Archive::ArchiveError::cancelledOperation);
        }
    }
}

TEST(Reach, ErrorsOfVisitorPassThrough) {
    const auto fail = [](const Entry &) { throw std::runtime_error("enough"); };
    EXPECT_THROW(static_cast<void>(opened(test::rawArchive(three))->reach(fail)),
                 std::runtime_error);
}

} // namespace

} // namespace vellomir::archive
