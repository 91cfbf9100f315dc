// The modes of folders that an archive implies and does not name.

#include "archive/FileManager.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Umask.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vellomir::archive {

namespace fs = std::filesystem;

namespace {

class FolderModes : public testing::TestWithParam<mode_t> {
protected:
    void unpack(const std::vector<test::RawEntry> &entries) {
        test::writeFile(folder_ / "a.zip", test::rawArchive(entries));
        fs::create_directory(folder_ / "out");
        const test::Umask umask(GetParam());
        FileManager().unzipItem(folder_.url("a.zip"), folder_.url("out"));
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
