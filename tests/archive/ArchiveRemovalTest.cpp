// Which bytes removing entries leaves, in files and in memory, and when it is refused.

#include "archive/EntryAppender.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using test::errorOf;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

class Removing : public test::FileOrMemory {
protected:
    void remove(const std::string &path, const Archive::RemoveOptions &options = {}) {
        const auto entry = (*archive_)[path];
        ASSERT_TRUE(entry) << path;
        archive_->remove(*entry, options);
    }
    [[nodiscard]] std::vector<std::string> contents() const { return test::contentsOf(*archive_); }

    /// Nothing but the archive is left in its folder.
    void expectNoTemporaryFolder() {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            EXPECT_EQ(item.path().filename(), "a.zip");
    }
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Removing, testing::Bool(), test::placeName);

const std::vector<test::RawEntry> three = {
    {"a", "first"}, test::rawDeflated("b", std::string(50000, 'b')), test::rawLink("c", "target")};

TEST_P(Removing, AnyEntryLeavesTheOthers) {
    for (std::size_t removed = 0; removed < 3; ++removed) {
        open(test::rawArchive(three, "comment"));
        remove(three[removed].name);
        auto others = three;
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(removed));
        EXPECT_TRUE(content() == test::rawArchive(others, "comment")) << removed;
        EXPECT_EQ(contents().size(), 2U) << "the object uses the new archive";
        expectNoTemporaryFolder();
    }
}

TEST_P(Removing, OnlyEntryLeavesAnEmptyArchive) {
    open(test::rawArchive({{"a", "content"}}));
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({}));
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord(), EndOfCentralDirectoryRecord());
}

TEST_P(Removing, OfTwoEqualPathsRemovesTheGivenEntry) {
    open(test::rawArchive({{"a", "same"}, {"b", "other"}, {"a", "same"}}));
    archive_->remove(test::entries(*archive_).back());
    EXPECT_EQ(content(), test::rawArchive({{"a", "same"}, {"b", "other"}}));
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({{"b", "other"}}));
}

TEST_P(Removing, SeveralEntriesIsAllOrNothing) {
    open(test::rawArchive(three));
    const std::vector<Entry> entries = {*(*archive_)["c"], *(*archive_)["a"]};
    archive_->remove(entries, {});
    EXPECT_EQ(content(), test::rawArchive({three[1]}));
    const std::vector<Entry> others = {*(*archive_)["b"], entries[0]};
    EXPECT_EQ(errorOf([&] { archive_->remove(others, {}); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(content(), test::rawArchive({three[1]}));
}

TEST_P(Removing, TwoRecordsOfOneEntryRemovesBoth) {
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

TEST_P(Removing, ProgressCountsTheBytesKept) {
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

TEST_P(Removing, CancellingChangesNothing) {
    const std::string before = test::rawArchive(
        {{"a", test::randomText(40000)}, {"b", "removed"}, {"c", test::randomText(40000)}});
    open(before);
    for (const std::int64_t units : {1, 20000, 50000, 80000}) {
        const auto progress = Progress::make();
        progress->setObserver(test::cancellingAt(units));
        EXPECT_EQ(errorOf([&] { remove("b", {.bufferSize = 1000, .progress = progress}); }),
                  ArchiveError::cancelledOperation);
        EXPECT_TRUE(content() == before);
        EXPECT_EQ(contents().size(), 3U);
        expectNoTemporaryFolder();
    }
    remove("b");
    EXPECT_EQ(contents().size(), 2U);
}

TEST_P(Removing, FromAnArchiveOpenForReadingFails) {
    open(test::rawArchive(three), AccessMode::read);
    fs::permissions(folder_.path(), fs::perms(0500));
    EXPECT_EQ(errorOf([&] { remove("a"); }), ArchiveError::unwritableArchive);
    EXPECT_EQ(content(), test::rawArchive(three));
}

TEST_P(Removing, MissingEntryFails) {
    open(test::rawArchive(three));
    const auto entry = (*archive_)["a"];
    remove("a");
    const std::string before = content();
    EXPECT_EQ(errorOf([&] { archive_->remove(*entry); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(content(), before);
    EXPECT_EQ(errorOf([&] { remove("b", {.bufferSize = 0}); }), ArchiveError::invalidBufferSize);
}

TEST_P(Removing, FailsWhereEntriesCannotBeReached) {
    auto entries = three;
    entries[1].flags |= encryptedFlag;
    const std::string before = test::rawArchive(entries);
    open(before);
    EXPECT_EQ(errorOf([&] { remove("a"); }), ArchiveError::unreadableArchive);
    EXPECT_EQ(content(), before);
    expectNoTemporaryFolder();
}

TEST_P(Removing, FailsWhereDataIsCutShort) {
    auto entries = three;
    entries[1].method = entries[1].directoryMethod = 0;
    entries[1].uncompressedSize = 1000000;
    const std::string before = test::rawArchive(entries);
    open(before);
    EXPECT_EQ(errorOf([&] { remove("a"); }), Data::DataError::unreadableFile);
    EXPECT_EQ(content(), before);
}

/// The directory may name its entries in another order than that of their data, and data may have
/// gaps.
TEST_P(Removing, AcceptsAnyOrderAndGapsOfTheData) {
    auto entries = three;
    entries[0].trailer = "a gap that belongs to no entry";
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

TEST_P(Removing, DataDescriptorsMoveWithTheirData) {
    const std::string text(1000, 'x');
    std::vector<test::RecordEntry> entries = {test::wide({"a", text}), test::wide({"b", text}),
                                              test::wide(test::deflatedRecordEntry("c", text)),
                                              test::narrow({"d", text})};
    open(test::recordArchive(entries));
    remove("a");
    entries.erase(entries.begin());
    EXPECT_EQ(content(), test::recordArchive(entries));
    test::writeFile(folder_ / "b.zip", content());
    test::expectOthersRead(folder_ / "b.zip", {"7z", "python3"});
}

TEST_P(Removing, EntriesCanBeAddedAfterwards) {
    open(test::rawArchive(three));
    remove("b");
    test::add(*archive_, "d", "new");
    EXPECT_THAT(contents(), ElementsAre("a=first", "c=target", "d=new"));
}

TEST_P(Removing, DropsZIP64RecordsThatNothingNeeds) {
    open(test::rawArchive({}));
    {
        EntryAppender appender(*archive_);
        for (int index = 0; index < 65535; ++index)
            appender.add(std::to_string(index), Entry::EntryType::directory, 0, {0}, std::nullopt,
                         test::nothing, {});
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

TEST_P(RemovingFromAFile, KeepsPermissionsAndALinkToIt) {
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

TEST_P(RemovingFromAFile, KeepsItsOwner) {
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

/// Another program moved the file: it cannot be replaced, and the stream still reads.
TEST_P(RemovingFromAFile, FailedReplacementKeepsTheOldFile) {
    open(test::rawArchive(three));
    fs::rename(folder_ / "a.zip", folder_ / "b.zip");
    EXPECT_EQ(errorOf([&] { remove("a"); }), FileError::fileReadNoSuchFile);
    EXPECT_EQ(contents().size(), 3U);
    fs::rename(folder_ / "b.zip", folder_ / "a.zip");
    remove("a");
    EXPECT_EQ(content(), test::rawArchive({three[1], three[2]}));
    expectNoTemporaryFolder();
}

} // namespace

} // namespace vellomir::archive
