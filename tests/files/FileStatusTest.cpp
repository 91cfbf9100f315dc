#include "files/FileStatus.h"

#include "files/FileDescriptor.h"
#include "files/FolderChanges.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

class FileStatusTest : public testing::Test {
protected:
    FileStatusTest() {
        test::writeFile(folder_ / "file", "content");
        fs::create_directory(folder_ / "folder");
        fs::create_symlink("file", folder_ / "link");
    }

    [[nodiscard]] std::string path(const char *name) const { return folder_ / name; }

    test::TemporaryFolder folder_;
};

TEST_F(FileStatusTest, StatusFollowsLinksOnRequest) {
    EXPECT_TRUE(statusOf(path("link"), Links::refuse)->isLink());
    EXPECT_TRUE(statusOf(path("link"), Links::follow)->isRegularFile());
    EXPECT_EQ(statusOf(path("link"), Links::follow)->size(), 7);
    EXPECT_TRUE(statusOf(path("folder"), Links::refuse)->isFolder());
    EXPECT_FALSE(statusOf(path("missing"), Links::refuse));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(statusOf(-1));
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileStatusTest, SameItemsAreFoundUnderTwoNames) {
    fs::create_hard_link(path("file"), path("second"));
    const auto status = [&](const char *name) { return statusOf(path(name), Links::follow); };
    EXPECT_TRUE(isSameItem(status("file"), status("second")));
    EXPECT_TRUE(isSameItem(status("file"), status("link")));
    EXPECT_FALSE(isSameItem(status("file"), status("folder")));
    EXPECT_FALSE(isSameItem(status("missing"), status("missing")));
    EXPECT_EQ(status("file")->nameCount(), 2U);
}

TEST_F(FileStatusTest, TargetsOfLinksMayBeLong) {
    for (const std::size_t length : {1U, 255U, 256U, 257U, 4000U}) {
        const std::string target(length, 'a');
        ASSERT_TRUE(makeLink(target, path("long")));
        EXPECT_EQ(readLink(path("long")), target);
        EXPECT_EQ(readLink({openItem(path("long")).get(), ""}), target);
        ASSERT_TRUE(removeFile(path("long")));
    }
    EXPECT_FALSE(readLink(path("file")));
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(FileStatusTest, PermissionIsAskedOfTheSystem) {
    EXPECT_TRUE(isAllowed(Permission::use, path("folder")));
    EXPECT_TRUE(isAllowed(Permission::exist, path("link")));
    EXPECT_FALSE(isAllowed(Permission::execute, path("file"))); // the superuser may not either
    EXPECT_EQ(errno, EACCES);
    EXPECT_FALSE(isAllowed(Permission::exist, path("missing")));
    EXPECT_EQ(errno, ENOENT);
    if (::geteuid() == 0)
        return; // may read and write everything
    ASSERT_EQ(::chmod(path("file").c_str(), 0200), 0);
    EXPECT_FALSE(isAllowed(Permission::read, path("file")));
    EXPECT_TRUE(isAllowed(Permission::write, path("file")));
}

} // namespace
} // namespace vellomir
