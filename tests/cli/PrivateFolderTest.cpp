#include "cli/PrivateFolder.h"

#include "archive/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

TEST(PrivateFolder, IsHiddenWithMode0700) {
    const test::TemporaryFolder parent;
    fs::create_directory(parent / "real");
    fs::create_symlink("real", parent / "link");
    const cli::PrivateFolder folder((parent / "link").string());
    EXPECT_EQ(fs::path(folder.path()).parent_path(), fs::canonical(parent / "real"));
    EXPECT_TRUE(fs::path(folder.path()).filename().string().starts_with(".vellomir-"));
    struct stat status {};
    ASSERT_EQ(::stat(folder.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST(PrivateFolder, IsDeletedWithContents) {
    const test::TemporaryFolder parent;
    test::writeFile(parent / "outside/kept", "");
    {
        const cli::PrivateFolder folder(parent.path().string());
        test::writeFile(fs::path(folder.path()) / "a/b/c", "");
        fs::create_directory_symlink(parent / "outside", fs::path(folder.path()) / "a/link");
        ::chmod((folder.path() + "/a/b").c_str(), 0);
        ::chmod((folder.path() + "/a").c_str(), 0500);
    }
    EXPECT_TRUE(fs::exists(parent / "outside/kept"));
    EXPECT_EQ(std::distance(fs::directory_iterator(parent.path()), fs::directory_iterator()), 1);
}

TEST(PrivateFolder, NeedsParentFolder) {
    const test::TemporaryFolder parent;
    try {
        const cli::PrivateFolder folder((parent / "missing").string());
        FAIL() << folder.path();
    } catch (const archive::Error &error) {
        EXPECT_EQ(error.code(), archive::FileError::fileReadNoSuchFile);
        EXPECT_EQ(error.path(), (parent / "missing").string());
    }
}

} // namespace
