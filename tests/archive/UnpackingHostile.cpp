// Unpacking hostile archives, and beside hostile programs.

#include "tests/archive/UnpackingFixture.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"
#include "tests/support/Umask.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
namespace fs = std::filesystem;

namespace {

// --- Hostile neighbours -------------------------------------------------------------------------

class PlantedItem : public Unpacking, public testing::WithParamInterface<const char *> {
protected:
    void SetUp() override {
        fs::create_directory(folder_ / "victim");
        fs::permissions(folder_ / "victim", fs::perms(0700));
        before_ = status("victim");
    }

    struct stat before_ {};
};

INSTANTIATE_TEST_SUITE_P(Paths, PlantedItem, testing::Values("d", "d/e", "d/e/f"));

TEST_P(PlantedItem, LinkInPlaceOfAFolderIsNotFollowed) {
    archiveOf(
        {directory("d/", 0777), directory("d/e/", 04777), directory("d/e/f/", 06777), {"a", "1"}});
    const std::string path = std::string("out/") + GetParam();
    const Error error = unzipWith([&] {
        fs::rename(folder_ / path, folder_ / "moved");
        fs::create_directories(folder_ / "victim/e/f");
        fs::create_directory_symlink(folder_ / "victim", folder_ / path);
        before_ = status("victim");
    });
    EXPECT_EQ(error.code(), FileError::fileWriteUnknown);
    EXPECT_EQ(status("victim").st_mode, before_.st_mode);
    EXPECT_EQ(status("victim").st_mtim.tv_nsec, before_.st_mtim.tv_nsec);
    for (const std::string inner : {"victim/e", "victim/e/f"})
        EXPECT_EQ(status(inner).st_mode & 07000U, 0U) << inner;
}

TEST_P(PlantedItem, OtherFolderInPlaceOfAFolderIsUnchanged) {
    archiveOf(
        {directory("d/", 0777), directory("d/e/", 04777), directory("d/e/f/", 06777), {"a", "1"}});
    const std::string path = std::string("out/") + GetParam();
    const Error error = unzipWith([&] {
        fs::rename(folder_ / path, folder_ / "moved");
        fs::rename(folder_ / "victim", folder_ / path);
    });
    EXPECT_EQ(error.code(), FileError::fileWriteUnknown);
    EXPECT_EQ(status(path).st_mode, before_.st_mode);
    EXPECT_EQ(status(path).st_mtim.tv_sec, before_.st_mtim.tv_sec);
}

TEST_F(Unpacking, FileInPlaceOfAFolderIsUnchanged) {
    archiveOf({directory("d/", 04777), {"a", "1"}});
    const Error error = unzipWith([&] {
        fs::remove(folder_ / "out/d");
        test::writeFile(folder_ / "out/d", "");
        fs::permissions(folder_ / "out/d", fs::perms(0600));
    });
    EXPECT_EQ(error.code(), FileError::fileWriteUnknown);
    EXPECT_EQ(status("out/d").st_mode, 0100600U);
}

TEST_F(Unpacking, MovedDestinationIsFilled) {
    archiveOf({directory("d/", 0711), {"a", "1"}, {"d/b", "2"}, {"new/c", "3"}});
    EXPECT_FALSE(unzipWith([&] {
                     fs::rename(folder_ / "out", folder_ / "moved");
                     fs::create_directory(folder_ / "out");
                 }).code());
    EXPECT_TRUE(fs::is_empty(folder_ / "out"));
    EXPECT_EQ(test::readFile(folder_ / "moved/d/b"), "2");
    EXPECT_EQ(test::readFile(folder_ / "moved/new/c"), "3");
    EXPECT_EQ(status("moved/d").st_mode, 0040711U);
}

// --- Archives that change, paths that cannot be made ------------------------------------------

/// More entries than one piece of the directory holds, behind a file "a".
std::vector<test::RawEntry> manyEntries() {
    std::vector<test::RawEntry> entries = {{"a", "1"}};
    for (int index = 0; index < 2000; ++index)
        entries.push_back({std::string(100, 'n') + std::to_string(index), "1"});
    return entries;
}

TEST_F(Unpacking, ArchiveChangedMeanwhileIsRefused) {
    archiveOf(manyEntries());
    const std::string bytes = test::readFile(folder_ / "a.zip");
    const Error error = unzipWith([&] { // now the directory is nothing but zeros
        fs::resize_file(folder_ / "a.zip", bytes.find("PK\1\2"));
        fs::resize_file(folder_ / "a.zip", bytes.size());
    });
    EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
    EXPECT_EQ(error.path(), folder_ / "a.zip");
    EXPECT_THAT(error.what(), testing::HasSubstr("was changed while it was unpacked"));
}

TEST_F(Unpacking, CancellationLimitsWorkOnFolders) {
    std::vector<test::RawEntry> entries = {{"a", "1"}};
    for (int index = 0; index < 11'000; ++index)
        entries.push_back(directory("d" + std::to_string(index) + "/", 0711));
    archiveOf(entries);
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &) {
        if (fs::exists(folder_ / "out/a"))
            progress->cancel();
    });
    EXPECT_EQ(unzip({.progress = progress}).code(), ArchiveError::cancelledOperation);
    int finished = 0;
    for (int index = 0; index < 11'000; ++index)
        finished += mode("out/d" + std::to_string(index)) == 0040711U ? 1 : 0;
    EXPECT_EQ(finished, 10'000);
}

TEST_F(Unpacking, FolderWithTooLongPathIsRefused) {
    std::string path;
    for (int level = 0; level < 2500; ++level)
        path += "d/";
    archiveOf({directory(path, 0755)});
    const Error error = unzip();
    EXPECT_EQ(error.systemError(), ENAMETOOLONG);
    EXPECT_EQ(error.entry(), path);
}

TEST_F(Unpacking, ImpliedFolderWithTooLongNameIsRefused) {
    archiveOf({{std::string(300, 'd') + "/file", "1"}});
    const Error error = unzip();
    EXPECT_EQ(error.systemError(), ENAMETOOLONG);
    EXPECT_EQ(error.path(), folder_ / ("out/" + std::string(300, 'd')));
}

TEST_F(Unpacking, FileIsNoFolderForOthers) {
    archiveOf({{"a", "1"}, {"a/b", "2"}});
    const Error error = unzip();
    EXPECT_EQ(error.systemError(), ENOTDIR);
    EXPECT_EQ(error.path(), folder_ / "out/a");
    EXPECT_EQ(error.entry(), "a/b");
    EXPECT_EQ(test::readFile(folder_ / "out/a"), "1");
}

// --- Deep folders -------------------------------------------------------------------------------

TEST_F(Unpacking, DeepFoldersAreFilledInTurn) {
    std::string deep;
    for (int level = 0; level < 500; ++level)
        deep += "f/";
    std::vector<test::RawEntry> entries;
    for (int index = 0; index < 40; ++index)
        entries.push_back({(index % 2 == 0 ? "a/" : "b/") + deep + std::to_string(index), "1"});
    archiveOf(entries);
    EXPECT_FALSE(unzip().code());
    EXPECT_TRUE(fs::exists(folder_ / ("out/a/" + deep + "38")));
    EXPECT_TRUE(fs::exists(folder_ / ("out/b/" + deep + "39")));
}

TEST_F(Unpacking, ImpliedFoldersAreMade) {
    std::vector<test::RawEntry> entries;
    std::string chain;
    for (int level = 0; level < 200; ++level) {
        chain += "f/";
        entries.push_back({"a/" + chain + "x", "1"});
        entries.push_back({"b/" + chain + "x", "1"});
    }
    archiveOf(entries);
    EXPECT_FALSE(unzip().code());
    EXPECT_TRUE(fs::exists(folder_ / ("out/a/" + chain + "x")));
    EXPECT_TRUE(fs::exists(folder_ / ("out/b/" + chain + "x")));
}

// --- Limits -------------------------------------------------------------------------------------

TEST_F(Unpacking, EntryLongerThanItsDirectoryRecordIsRefused) {
    test::RawEntry bomb = test::rawDeflated("a", std::string(3'000'000, 'x'));
    bomb.uncompressedSize = 10;
    test::RawEntry link = test::rawLink("a", "a long target");
    link.uncompressedSize = 10;
    for (const test::RawEntry &entry : {bomb, link}) {
        fs::remove_all(folder_ / "out");
        archiveOf({entry});
        const Error error = unzip({.holdsToDirectory = true});
        EXPECT_EQ(error.code(), ArchiveError::invalidEntrySize);
        EXPECT_EQ(error.entry(), "a");
        EXPECT_THAT(error.what(), testing::HasSubstr("longer than the 10 bytes"));
        EXPECT_FALSE(fs::is_symlink(folder_ / "out/a"));
        EXPECT_EQ(fs::exists(folder_ / "out/a") ? fs::file_size(folder_ / "out/a") : 0, 0U);
        fs::remove_all(folder_ / "out");
        EXPECT_FALSE(unzip().code()) << "off by default";
    }
}

TEST_F(Unpacking, TooLittleSpaceIsFoundBeforeWriting) {
    std::vector<test::RawEntry> entries;
    for (int index = 0; index < 60'000; ++index) { // 258 TB
        test::RawEntry huge = test::rawDeflated(std::to_string(index), "x");
        huge.uncompressedSize = 0xFFFFFFF0;
        entries.push_back(std::move(huge));
    }
    archiveOf(entries);
    const Error error = unzip({.holdsToDirectory = true});
    EXPECT_EQ(error.code(), FileError::fileWriteOutOfSpace);
    EXPECT_EQ(error.path(), folder_ / "out");
    EXPECT_THAT(error.what(), testing::HasSubstr("257698036800000 bytes are needed"));
    EXPECT_FALSE(fs::exists(folder_ / "out"));
}

TEST_F(Unpacking, SizesThatOverflowTheProgressAreRefused) {
    std::vector<test::RecordEntry> entries = {{"a", "1"}, {"b", "2"}};
    for (test::RecordEntry &entry : entries) {
        ZIP64ExtendedInformation field;
        field.dataSize = 16;
        field.uncompressedSize = std::numeric_limits<std::int64_t>::max();
        field.compressedSize = 1;
        entry.record.uncompressedSize = entry.record.compressedSize = maxUInt32;
        test::setTail(entry.record.extraFieldLength, entry.record.extraFieldData,
                      field.data().text());
    }
    test::writeFile(folder_ / "a.zip", test::recordArchive(entries));
    EXPECT_EQ(unzip({.progress = Progress::make()}).code(), ArchiveError::invalidEntrySize);
}

TEST_F(Unpacking, EnoughSpaceIsNoError) {
    archiveOf({directory("d/", 0755),
               {"d/a", "1"},
               test::rawDeflated("b", "content"),
               test::rawLink("l", "b")});
    EXPECT_FALSE(unzip({.holdsToDirectory = true}).code());
    EXPECT_EQ(test::readFile(folder_ / "out/b"), "content");
}

// --- Modes of folders that are implied and not named --------------------------------------------

class FolderModes : public testing::TestWithParam<mode_t> {
protected:
    void unpack(const std::vector<test::RawEntry> &entries) {
        test::writeFile(folder_ / "a.zip", test::rawArchive(entries));
        fs::create_directory(folder_ / "out");
        const test::Umask umask(GetParam());
        unzip(folder_.url("a.zip"), folder_.url("out"), {});
    }
    [[nodiscard]] mode_t mode(const std::string &path) const {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / "out" / path).c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }

    test::TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Umasks, FolderModes, testing::Values(000, 022, 027, 077));

TEST_P(FolderModes, ImpliedFoldersDoNotFollowTheUmask) {
    unpack({{.name = "Payload/App.app/Info.plist", .data = "x"},
            {.name = "Payload/App.app/Data/file", .data = "x"}});
    for (const char *path : {"Payload", "Payload/App.app", "Payload/App.app/Data"})
        EXPECT_EQ(mode(path), 0755U) << path;
    EXPECT_EQ(mode("Payload/App.app/Info.plist"), 0644U);
}

TEST_P(FolderModes, ParentsOfFoldersAndLinksAreImplied) {
    unpack({test::rawDirectory("a/b/"), test::rawLink("c/d", "e")});
    EXPECT_EQ(mode("a"), 0755U);
    EXPECT_EQ(mode("a/b"), 0755U);
    EXPECT_EQ(mode("c"), 0755U);
}

TEST_P(FolderModes, ClosedFoldersAreFilled) {
    auto closed = test::rawDirectory("closed/");
    closed.attributes = 0040500U << 16U;
    unpack({closed, {.name = "closed/file", .data = "x"}, test::rawDirectory("closed/below/")});
    EXPECT_EQ(mode("closed"), 0500U);
    ::chmod((folder_ / "out/closed").c_str(), 0700);
    EXPECT_EQ(mode("closed/file"), 0644U);
    EXPECT_EQ(mode("closed/below"), 0755U);
}

TEST_P(FolderModes, ExistingFoldersKeepTheirModes) {
    fs::create_directories(folder_ / "out/mine");
    fs::permissions(folder_ / "out/mine", fs::perms(0710));
    unpack({{.name = "mine/new/file", .data = "x"}});
    EXPECT_EQ(mode("mine"), 0710U);
    EXPECT_EQ(mode("mine/new"), 0755U);
}

/// Folders inherit the set-group-ID bit.
TEST_P(FolderModes, ImpliedFoldersInheritNoBits) {
    fs::create_directory(folder_ / "out");
    ASSERT_EQ(::chmod((folder_ / "out").c_str(), 02755), 0);
    unpack({{.name = "new/file", .data = "x"}});
    EXPECT_EQ(mode("new"), 0755U);
}

} // namespace

} // namespace vellomir::archive
