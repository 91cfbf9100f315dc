// An archive is changed only if its end record's count and size agree with the directory's records:
// otherwise a change would lose entries.

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using testing::HasSubstr;

namespace {

/// Changes of the end record of an archive without a comment, by offsets in that record.
std::string patched(std::string bytes, std::size_t offset, std::uint64_t value, std::size_t width) {
    for (std::size_t index = 0; index < width; ++index)
        bytes[bytes.size() - 22 + offset + index] = static_cast<char>(value >> (8U * index));
    return bytes;
}

std::string withCount(const std::string &bytes, std::uint16_t count) {
    return patched(patched(bytes, 8, count, 2), 10, count, 2);
}

std::string withSize(const std::string &bytes, std::uint32_t size) {
    return patched(bytes, 12, size, 4);
}

std::vector<test::RawEntry> entries(int count) {
    std::vector<test::RawEntry> found;
    for (int index = 0; index < count; ++index)
        found.push_back({std::to_string(index), "content"});
    return found;
}

std::string archiveOf(int count) {
    return test::rawArchive(entries(count));
}

std::string withDamagedRecord() {
    std::string bytes = archiveOf(3);
    bytes[bytes.rfind("PK\1\2")] = 'X';
    return bytes;
}

std::string withGap(std::size_t gap) {
    std::string bytes = archiveOf(3);
    bytes.insert(bytes.size() - 22, gap, 'x');
    return bytes;
}

/// The directory is at the start, before the data of its entry.
std::string withDirectoryInFront() {
    const std::string usual = archiveOf(1);
    const std::size_t directory = usual.find("PK\1\2");
    std::string record = usual.substr(directory, 47);
    record[42] = 47;
    return patched(record + usual.substr(0, directory) + usual.substr(directory + 47), 16, 0, 4);
}

struct Refusal {
    const char *name;
    std::string bytes;
    ArchiveError code;
    const char *text;
};

class DirectoryCheck : public testing::TestWithParam<Refusal> {};

constexpr auto invalidCount = ArchiveError::invalidCentralDirectoryEntryCount;
constexpr auto invalidSize = ArchiveError::invalidCentralDirectorySize;
constexpr auto invalidOffset = ArchiveError::invalidCentralDirectoryOffset;

INSTANTIATE_TEST_SUITE_P(
    Damages, DirectoryCheck,
    testing::Values(
        Refusal{"CountTooSmall", withCount(archiveOf(10), 4), invalidCount,
                "The end record counts 4 entries, but the directory holds 10"},
        Refusal{"CountModulo65536", archiveOf(70000), invalidCount,
                "counts 4464 entries, but the directory holds 70000"},
        Refusal{"CountTooLarge", withCount(archiveOf(10), 11), invalidCount,
                "counts 11 entries, but the directory holds 10"},
        Refusal{"SizeTooSmallByOne", withSize(archiveOf(3), 3 * 47 - 1), invalidCount, ""},
        Refusal{"SizeTooSmallByARecord", withSize(archiveOf(3), 2 * 47), invalidCount, ""},
        Refusal{"SizeOne", withSize(archiveOf(3), 1), invalidCount, ""},
        Refusal{"SizeZero", withSize(archiveOf(3), 0), invalidCount, ""},
        Refusal{"CountAndSizeTooSmall", withSize(withCount(archiveOf(3), 2), 2 * 47), invalidSize,
                "goes on behind its end"},
        Refusal{"SizeBeyondTheEnd", withSize(archiveOf(3), 3 * 47 + 1), invalidSize, ""},
        Refusal{"SizeTooLarge", withSize(withGap(10), 3 * 47 + 10), invalidSize,
                "records take 141 bytes, not the 151"},
        Refusal{"DamagedRecord", withDamagedRecord(), invalidCount,
                "record 3 is damaged or missing"},
        Refusal{"EntryBehindTheDirectory", withDirectoryInFront(), invalidOffset,
                "An entry lies behind the directory"}),
    [](const auto &each) { return each.param.name; });

/// Both changes of an archive, in a file and in memory.
TEST_P(DirectoryCheck, RefusesEveryChange) {
    const test::TemporaryFolder folder;
    const std::string &bytes = GetParam().bytes;
    for (const bool isMemory : {false, true})
        for (const bool isAddition : {false, true}) {
            test::writeFile(folder / "a.zip", bytes);
            const auto archive = isMemory ? test::openBytes(bytes)
                                          : Archive::open(folder.url("a.zip"), AccessMode::update);
            const Entry entry = *(*archive).begin();
            const Error error = test::thrownBy([&] {
                if (isAddition)
                    test::add(*archive, "new", "");
                else
                    archive->remove(entry);
            });
            EXPECT_EQ(error.code(), GetParam().code) << error.what();
            EXPECT_THAT(error.what(), HasSubstr(GetParam().text));
            EXPECT_TRUE((isMemory ? std::string(archive->data()->text())
                                  : test::readFile(folder / "a.zip")) == bytes);
        }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(DirectoryCheckOfAnAddition, RefusesAPrefixThatTheOffsetsIgnore) {
    for (const int count : {0, 2}) {
        const std::string bytes = "#!/bin/sh\n" + archiveOf(count);
        const auto archive = test::openBytes(bytes);
        const Error error = test::thrownBy([&] { test::add(*archive, "new", ""); });
        EXPECT_EQ(error.code(), invalidOffset);
        EXPECT_THAT(error.what(), HasSubstr("The directory is not where the end record says"));
        EXPECT_EQ(archive->data()->text(), bytes);
    }
}

TEST(DirectoryCheckOfAnAddition, NoticesChangesByAnotherObject) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", archiveOf(2));
    const auto archive = Archive::open(folder.url("a.zip"), AccessMode::update);
    test::writeFile(folder / "a.zip", archiveOf(3));
    const Error error = test::thrownBy([&] { test::add(*archive, "new", ""); });
    EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
    EXPECT_THAT(error.what(), HasSubstr("The archive is no longer as it was opened"));
    EXPECT_EQ(test::readFile(folder / "a.zip"), archiveOf(3));
}

TEST(DirectoryCheckOfAnAddition, AcceptsSoundArchives) {
    std::string gap = archiveOf(2);
    gap.insert(gap.size() - 22, "PK\5\5" + std::string(2, '\0'));
    auto encrypted = entries(2);
    encrypted[0].flags |= encryptedFlag;
    for (const std::string &bytes :
         {test::rawArchive({}), archiveOf(1), test::rawArchive(entries(2), "comment"), gap,
          test::rawArchive(encrypted), archiveOf(2) + "behind the end"}) {
        const auto archive = test::openBytes(bytes);
        const auto count = archive->totalNumberOfEntriesInCentralDirectory();
        for (int index = 0; index < 3; ++index)
            test::add(*archive, "new", "");
        EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), count + 3);
    }
}

} // namespace

} // namespace vellomir::archive
