// An archive is changed only if its end record's count and size agree with the directory's records:
// otherwise a change would lose entries.

#include "archive/Archive.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

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

std::string withOffset(const std::string &bytes, std::uint32_t offset) {
    return patched(bytes, 16, offset, 4);
}

std::vector<test::RawEntry> entries(int count) {
    std::vector<test::RawEntry> found;
    for (int index = 0; index < count; ++index)
        found.push_back({std::to_string(index), "content"});
    return found;
}

void addOne(Archive &archive) {
    archive.addEntry("new", Entry::EntryType::file, std::int64_t{0}, {0}, std::nullopt,
                     [](std::int64_t, std::size_t) { return std::span<const std::byte>(); });
}

struct Refusal {
    std::error_code code;
    std::string text;
};

/// Both changes of an archive, in a file and in memory, must be refused alike and change nothing.
Refusal refusalOf(const std::string &bytes) {
    const test::TemporaryFolder folder;
    std::vector<Refusal> refusals;
    for (const bool isMemory : {false, true})
        for (const bool isAddition : {false, true}) {
            test::writeFile(folder / "a.zip", bytes);
            const auto archive =
                isMemory ? Archive::open(Data(std::string_view(bytes)), AccessMode::update)
                         : Archive::open(folder.url("a.zip"), AccessMode::update);
            const auto entry = *(*archive).begin();
            try {
                isAddition ? addOne(*archive) : archive->remove(entry);
                refusals.push_back({});
            } catch (const Error &error) {
                refusals.push_back({error.code(), error.context().detail});
            }
            EXPECT_EQ(isMemory ? std::string(archive->data()->text())
                               : test::readFile(folder / "a.zip"),
                      bytes);
            EXPECT_EQ(refusals.back().text, refusals.front().text);
        }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
    return refusals.front();
}

TEST(DirectoryCheck, RefusesACountThatIsTooSmall) {
    const Refusal refusal = refusalOf(withCount(test::rawArchive(entries(10)), 4));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_THAT(refusal.text,
                HasSubstr("The end record counts 4 entries, but the directory holds 10"));
}

TEST(DirectoryCheck, RefusesACountModulo65536) {
    const Refusal refusal = refusalOf(test::rawArchive(entries(70000)));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_THAT(refusal.text, HasSubstr("counts 4464 entries, but the directory holds 70000"));
}

TEST(DirectoryCheck, RefusesACountThatIsTooLarge) {
    const Refusal refusal = refusalOf(withCount(test::rawArchive(entries(10)), 11));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_THAT(refusal.text, HasSubstr("counts 11 entries, but the directory holds 10"));
}

TEST(DirectoryCheck, RefusesASizeThatIsTooSmall) {
    const std::string bytes = test::rawArchive(entries(3));
    for (const std::uint32_t size : {3U * 47 - 1, 2U * 47, 1U, 0U})
        EXPECT_EQ(refusalOf(withSize(bytes, size)).code,
                  ArchiveError::invalidCentralDirectoryEntryCount)
            << size;
}

TEST(DirectoryCheck, RefusesCountAndSizeThatAreBothTooSmall) {
    const Refusal refusal = refusalOf(withSize(withCount(test::rawArchive(entries(3)), 2), 2 * 47));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectorySize);
    EXPECT_THAT(refusal.text, HasSubstr("goes on behind its end"));
}

TEST(DirectoryCheck, RefusesASizeThatIsTooLarge) {
    std::string bytes = test::rawArchive(entries(3));
    EXPECT_EQ(refusalOf(withSize(bytes, 3 * 47 + 1)).code,
              ArchiveError::invalidCentralDirectorySize)
        << "more than there is room for";
    bytes.insert(bytes.size() - 22, 10, 'x');
    const Refusal refusal = refusalOf(withSize(bytes, 3 * 47 + 10));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectorySize);
    EXPECT_THAT(refusal.text, HasSubstr("records take 141 bytes, not the 151"));
}

TEST(DirectoryCheck, RefusesARecordThatIsDamaged) {
    std::string bytes = test::rawArchive(entries(3));
    bytes[bytes.rfind(std::string("PK\1\2"))] = 'X';
    const Refusal refusal = refusalOf(bytes);
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_THAT(refusal.text, HasSubstr("record 3 is damaged or missing"));
}

TEST(DirectoryCheck, RefusesAnEntryBehindTheDirectory) {
    // The directory in front, its entry behind it.
    const std::string usual = test::rawArchive(entries(1));
    const std::size_t directory = usual.find("PK\1\2");
    std::string record = usual.substr(directory, 47);
    record[42] = 47;
    const std::string bytes = record + usual.substr(0, directory) + usual.substr(directory + 47);
    const Refusal refusal = refusalOf(withOffset(bytes, 0));
    EXPECT_EQ(refusal.code, ArchiveError::invalidCentralDirectoryOffset);
    EXPECT_THAT(refusal.text, HasSubstr("An entry lies behind the directory"));
}

TEST(DirectoryCheck, RefusesToWriteOverWhatStandsInFront) {
    for (const int count : {0, 2}) {
        const std::string bytes = "#!/bin/sh\n" + test::rawArchive(entries(count));
        const auto archive = Archive::open(Data(std::string_view(bytes)), AccessMode::update);
        try {
            addOne(*archive);
            ADD_FAILURE() << "it was added";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), ArchiveError::invalidCentralDirectoryOffset);
            EXPECT_THAT(error.what(), HasSubstr("The directory is not where the end record says"));
        }
        EXPECT_EQ(archive->data()->text(), bytes);
    }
}

TEST(DirectoryCheck, SeesWhatAnotherObjectChanged) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", test::rawArchive(entries(2)));
    const auto archive = Archive::open(folder.url("a.zip"), AccessMode::update);
    test::writeFile(folder / "a.zip", test::rawArchive(entries(3)));
    try {
        addOne(*archive);
        ADD_FAILURE() << "it was added";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
        EXPECT_THAT(error.what(), HasSubstr("The archive is no longer as it was opened"));
    }
    EXPECT_EQ(test::readFile(folder / "a.zip"), test::rawArchive(entries(3)));
}

TEST(DirectoryCheck, AcceptsWhatIsSound) {
    std::string gap = test::rawArchive(entries(2));
    gap.insert(gap.size() - 22, "PK\5\5" + std::string(2, '\0'));
    auto encrypted = entries(2);
    encrypted[0].flags |= archive::encryptedFlag;
    for (const std::string &bytes :
         {test::rawArchive({}), test::rawArchive(entries(1)),
          test::rawArchive(entries(2), "comment"), gap, test::rawArchive(encrypted),
          test::rawArchive(entries(2)) + "behind the end"}) {
        const auto archive = Archive::open(Data(std::string_view(bytes)), AccessMode::update);
        const auto count = archive->totalNumberOfEntriesInCentralDirectory();
        for (int index = 0; index < 3; ++index)
            addOne(*archive);
        EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), count + 3);
    }
}

} // namespace

} // namespace vellomir::archive
