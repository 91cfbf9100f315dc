#include "archive/Archive.h"
#include "archive/EndRecords.h"
#include "archive/EntryAppender.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

Data bytes(const std::string &text) {
    return Data(std::string_view(text));
}

std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

class Removing : public testing::TestWithParam<bool> {
protected:
    void open(const std::string &content, AccessMode mode = AccessMode::update) {
        archive_.reset();
        if (GetParam()) {
            archive_ = Archive::open(bytes(content), mode);
            return;
        }
        test::writeFile(folder_ / "a.zip", content);
        archive_ = Archive::open(folder_.url("a.zip"), mode);
    }

    std::string content() {
        return GetParam() ? std::string(archive_->data()->text())
                          : test::readFile(folder_ / "a.zip");
    }

    void remove(const std::string &path, const Archive::RemoveOptions &options = {}) {
        const auto entry = (*archive_)[path];
        ASSERT_TRUE(entry) << path;
        archive_->remove(*entry, options);
    }

    std::vector<std::string> contents() {
        std::vector<std::string> found;
        for (const Entry &entry : *archive_) {
            std::string text;
            const auto take = [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); };
            EXPECT_EQ(archive_->extract(entry, take), entry.checksum());
            found.push_back(entry.path() + "=" + text);
        }
        return found;
    }

    /// Nothing but the archive is left in its folder.
    void expectNoTemporaryFolder() {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            EXPECT_EQ(item.path().filename(), "a.zip");
    }

    test::TemporaryFolder folder_;
    std::unique_ptr<Archive> archive_;
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Removing, testing::Bool(),
                         [](const auto &each) { return each.param ? "Memory" : "File"; });

const std::vector<test::RawEntry> three = {
    {"a", "first"}, test::rawDeflated("b", std::string(50000, 'b')), test::rawLink("c", "target")};

TEST_P(Removing, TheFirstTheMiddleAndTheLastOfThree) {
    for (std::size_t removed = 0; removed < 3; ++removed) {
        open(test::rawArchive(three, "comment"));
        remove(three[removed].name);
        auto others = three;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(removed));
        EXPECT_TRUE(content() == test::rawArchive(others, "comment")) << removed;
        EXPECT_EQ(contents().size(), 2U) << "the object goes on with the new archive";
        expectNoTemporaryFolder();
    }
}

TEST_P(Removing, TheOnlyEntryLeavesAnEmptyArchive) {
    open(test::rawArchive({{"a", "content"}}));
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({}));
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord(), archive::EndOfCentralDirectoryRecord());
}

TEST_P(Removing, OfTwoEqualPathsOnlyThatEntryGoes) {
    open(test::rawArchive({{"a", "same"}, {"b", "other"}, {"a", "same"}}));
    std::vector<Entry> entries;
    for (const Entry &entry : *archive_)
        entries.push_back(entry);
    archive_->remove(entries.back());
    EXPECT_EQ(content(), test::rawArchive({{"a", "same"}, {"b", "other"}}));
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({{"b", "other"}}));
}

TEST_P(Removing, SeveralAtOnceGoTogetherOrNotAtAll) {
    open(test::rawArchive(three));
    const std::vector<Entry> entries = {*(*archive_)["c"], *(*archive_)["a"]};
    archive_->remove(entries, {});
    EXPECT_EQ(content(), test::rawArchive({three[1]}));
    const std::vector<Entry> others = {*(*archive_)["b"], entries[0]};
    EXPECT_EQ(errorOf([&] { archive_->remove(others, {}); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(content(), test::rawArchive({three[1]}));
}

TEST_P(Removing, TwoRecordsOfOneEntryGoTogether) {
    std::string content = test::rawArchive({{"a", "same"}, {"b", "other"}});
    const std::size_t directory = content.find("PK\1\2");
    const std::string record = content.substr(directory, 47);
    content.insert(directory, record);
    content.replace(content.size() - 14, 2, std::string("\3\0", 2));
    content.replace(content.size() - 12, 2, std::string("\3\0", 2));
    content[content.size() - 10] = static_cast<char>(3 * 47);
    open(content);
    ASSERT_EQ(contents().size(), 3U);
    remove("a");
    EXPECT_EQ(this->content(), test::rawArchive({{"b", "other"}}));
}

TEST_P(Removing, CountsTheBytesThatAreKept) {
    open(test::rawArchive(three));
    const auto entry = (*archive_)["a"];
    const auto progress = Progress::make();
    const auto expected = archive_->makeProgressForRemoving(*entry)->totalUnitCount();
    EXPECT_EQ(static_cast<std::uint64_t>(expected),
              archive_->offsetToStartOfCentralDirectory() - entry->localSize());
    archive_->remove(*entry, {.bufferSize = 10, .progress = progress});
    EXPECT_EQ(progress->totalUnitCount(), expected);
    EXPECT_EQ(progress->completedUnitCount(), expected);
}

TEST_P(Removing, CancellingLeavesEverythingAsItWas) {
    const std::string before = test::rawArchive(
        {{"a", test::randomText(40000)}, {"b", "removed"}, {"c", test::randomText(40000)}});
    open(before);
    for (const std::int64_t units : {1, 20000, 50000, 80000}) {
        const auto progress = Progress::make();
        progress->setObserver([=](const Progress &each) {
            if (each.completedUnitCount() >= units)
                const_cast<Progress &>(each).cancel();
        });
        EXPECT_EQ(errorOf([&] { remove("b", {.bufferSize = 1000, .progress = progress}); }),
                  ArchiveError::cancelledOperation);
        EXPECT_TRUE(content() == before);
        EXPECT_EQ(contents().size(), 3U);
        expectNoTemporaryFolder();
    }
    remove("b");
    EXPECT_EQ(contents().size(), 2U);
}

TEST_P(Removing, FromAnArchiveForReadingFailsBeforeATemporaryFileIsMade) {
    open(test::rawArchive(three), AccessMode::read);
    fs::permissions(folder_.path(), fs::perms(0500));
    EXPECT_EQ(errorOf([&] { remove("a"); }), ArchiveError::unwritableArchive);
    EXPECT_EQ(content(), test::rawArchive(three));
}

TEST_P(Removing, WhatIsNotThereCannotBeRemoved) {
    open(test::rawArchive(three));
    const auto entry = (*archive_)["a"];
    remove("a");
    const std::string before = content();
    EXPECT_EQ(errorOf([&] { archive_->remove(*entry); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(errorOf([&] { remove("b", {.bufferSize = 0}); }), ArchiveError::invalidBufferSize);
}

TEST_P(Removing, EntriesThatCannotBeReachedAreNotLost) {
    auto entries = three;
    entries[1].flags |= archive::encryptedFlag;
    const std::string before = test::rawArchive(entries);
    open(before);
    EXPECT_EQ(errorOf([&] { remove("a"); }), ArchiveError::unreadableArchive);
    EXPECT_EQ(content(), before);
    expectNoTemporaryFolder();
}

TEST_P(Removing, DataThatIsCutShortIsNotCopied) {
    auto entries = three;
    entries[1].method = entries[1].directoryMethod = 0;
    entries[1].uncompressedSize = 1000000;
    const std::string before = test::rawArchive(entries);
    open(before);
    EXPECT_EQ(errorOf([&] { remove("a"); }), Data::DataError::unreadableFile);
    EXPECT_EQ(content(), before);
}

/// The directory may name its entries in another order than they lie, with room between them.
TEST_P(Removing, TheOrderAndTheGapsOfTheDataDoNotMatter) {
    auto entries = three;
    entries[0].trailer = "a gap that belongs to nobody";
    std::string content = test::rawArchive(entries);
    const std::size_t directory = content.find("PK\1\2");
    const std::size_t end = content.size() - 22;
    const std::string record = content.substr(directory, 47);
    content.erase(directory, 47).insert(end - 47, record); // the first entry is named last
    open(content);
    const auto before = contents();
    remove("b");
    EXPECT_THAT(contents(), ElementsAre("c=target", "a=first"));
    EXPECT_EQ(before.size(), 3U);
}

TEST_P(Removing, DescriptorsStayBehindTheirData) {
    std::vector<test::RawEntry> entries;
    for (const std::string name : {"a", "b", "c"}) {
        test::RawEntry entry{name, "content of " + name};
        entry.flags |= archive::dataDescriptorFlag;
        Data descriptor;
        descriptor.appendValue(archive::dataDescriptorStructSignature);
        descriptor.appendValue(entry.checksum);
        descriptor.appendValue(static_cast<std::uint32_t>(entry.data.size()));
        descriptor.appendValue(static_cast<std::uint32_t>(entry.data.size()));
        entry.trailer = descriptor.text();
        entries.push_back(entry);
    }
    open(test::rawArchive(entries));
    remove("a");
    entries.erase(entries.begin());
    EXPECT_EQ(content(), test::rawArchive(entries));
}

TEST_P(Removing, AddingGoesOnAfterwards) {
    open(test::rawArchive(three));
    remove("b");
    const std::string text = "new";
    archive_->addEntry("d", Entry::EntryType::file, std::int64_t{3}, {0}, std::nullopt,
                       [&](std::int64_t, std::size_t) { return std::as_bytes(std::span(text)); });
    EXPECT_THAT(contents(), ElementsAre("a=first", "c=target", "d=new"));
}

TEST_P(Removing, TheZIP64RecordsGoWithTheEntryThatNeededThem) {
    open(test::rawArchive({}));
    {
        archive::EntryAppender appender(*archive_);
        for (int index = 0; index < 65535; ++index)
            appender.add(std::to_string(index), Entry::EntryType::directory, 0, {0}, std::nullopt,
                         [](std::int64_t, std::size_t) { return std::span<const std::byte>(); },
                         {});
        appender.finish();
    }
    ASSERT_TRUE(archive_->zip64EndOfCentralDirectory());
    remove("0");
    EXPECT_FALSE(archive_->zip64EndOfCentralDirectory());
    EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 65534U);
    EXPECT_FALSE((*archive_)["0"]);
    EXPECT_TRUE((*archive_)["65534"]);
}

class RemovingFromAFile : public Removing {};
INSTANTIATE_TEST_SUITE_P(File, RemovingFromAFile, testing::Values(false));

TEST_P(RemovingFromAFile, ItsPermissionsStayAndSoDoesALinkToIt) {
    test::writeFile(folder_ / "real/a.zip", test::rawArchive(three));
    fs::permissions(folder_ / "real/a.zip", fs::perms(0640));
    fs::create_symlink("real/a.zip", folder_ / "a.zip");
    archive_ = Archive::open(folder_.url("a.zip"), AccessMode::update);
    remove("a");
    EXPECT_TRUE(fs::is_symlink(folder_ / "a.zip"));
    EXPECT_EQ(fs::read_symlink(folder_ / "a.zip"), "real/a.zip");
    EXPECT_EQ(test::readFile(folder_ / "real/a.zip"), test::rawArchive({three[1], three[2]}));
    EXPECT_EQ(fs::status(folder_ / "real/a.zip").permissions(), fs::perms(0640));
}

TEST_P(RemovingFromAFile, ItsOwnerStays) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "only root may give files away";
    open(test::rawArchive(three));
    ASSERT_EQ(::chown((folder_ / "a.zip").c_str(), 12345, 54321), 0);
    remove("a");
    struct stat status {};
    ASSERT_EQ(::stat((folder_ / "a.zip").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 12345U);
    EXPECT_EQ(status.st_gid, 54321U);
}

/// The file went away under the object's hands: it cannot be replaced, and the stream still reads.
TEST_P(RemovingFromAFile, AFailedReplacementLeavesTheObjectOnTheOldFile) {
    open(test::rawArchive(three));
    fs::rename(folder_ / "a.zip", folder_ / "b.zip");
    EXPECT_EQ(errorOf([&] { remove("a"); }), FileError::fileReadNoSuchFile);
    EXPECT_EQ(contents().size(), 3U);
    fs::rename(folder_ / "b.zip", folder_ / "a.zip");
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({three[1], three[2]}));
    expectNoTemporaryFolder();
}

TEST(EndRecordsTest, ShrinkByTheRecordThatWasRemoved) {
    archive::CentralDirectoryStructure record;
    record.fileNameLength = 4;
    record.extraFieldLength = 6;
    record.fileCommentLength = 10;
    archive::EndRecords records = archive::EndRecords().with(2, 1000, 5000);
    records = records.after(Archive::ModifyOperation::remove, record, 4000);
    EXPECT_EQ(records.numberOfEntries(), 1U);
    EXPECT_EQ(records.sizeOfCentralDirectory(), 1000U - 66);
    EXPECT_EQ(records.offsetToStartOfCentralDirectory(), 4000U);
    records = records.after(Archive::ModifyOperation::add, record, 6000);
    EXPECT_EQ(records.numberOfEntries(), 2U);
    EXPECT_EQ(records.sizeOfCentralDirectory(), 1000U);
}

TEST(EndRecordsTest, DoNotOverflow) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const archive::CentralDirectoryStructure record;
    const auto add = [&](const archive::EndRecords &records) {
        return errorOf(
            [&] { static_cast<void>(records.after(Archive::ModifyOperation::add, record, 0)); });
    };
    EXPECT_EQ(add(archive::EndRecords().with(1, most - 45, 0)),
              ArchiveError::invalidCentralDirectorySize);
    EXPECT_EQ(add(archive::EndRecords().with(most, 0, 0)),
              ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_EQ(add(archive::EndRecords().with(most - 1, most - 46, 0)), std::error_code());
}

TEST(EndRecordsTest, TurnToZIP64AtEachSentinel) {
    const auto isZIP64 = [](std::uint64_t count, std::uint64_t size, std::uint64_t start) {
        return archive::EndRecords().with(count, size, start).zip64.has_value();
    };
    EXPECT_FALSE(isZIP64(65534, 0xFFFFFFFE, 0xFFFFFFFE));
    EXPECT_TRUE(isZIP64(65535, 0, 0));
    EXPECT_TRUE(isZIP64(0, 0xFFFFFFFF, 0));
    EXPECT_TRUE(isZIP64(0, 0, 0xFFFFFFFF));
}

} // namespace

} // namespace vellomir::archive
