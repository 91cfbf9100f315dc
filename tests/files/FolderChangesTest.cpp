#include "files/FolderChanges.h"

#include "files/Error.h"
#include "files/FileStatus.h"
#include "tests/files/Items.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

class FolderChanges : public test::Items {};

TEST_F(FolderChanges, PrivateFoldersAreForTheOwnerOnly) {
    const mode_t before = ::umask(0);
    makePrivateFolder(path("new"));
    ::umask(before);
    EXPECT_EQ(permissions("new"), 0700U);
    makePrivateFolder(path("file")); // the caller looks at what is there
    EXPECT_EQ(test::readFile(path("file")), "content");
    try {
        makePrivateFolder(path("missing/new"));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
        EXPECT_EQ(error.path(), path("missing/new"));
    }
}

TEST_F(FolderChanges, ErrorsOfMissingFoldersNameTheItem) {
    makeFolders(path("a/b/c"), path("a/b/c/file"));
    EXPECT_TRUE(fs::is_directory(path("a/b/c")));
    try {
        makeFolders(path("file/below"), path("file/below/item"));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.path(), path("file/below/item"));
        EXPECT_EQ(error.systemError(), ENOTDIR);
    }
}

TEST_F(FolderChanges, LinksAreRemovedThemselves) {
    EXPECT_TRUE(removeFile(path("link")));
    EXPECT_FALSE(fs::is_symlink(path("link")));
    EXPECT_EQ(test::readFile(path("file")), "content");
}

TEST_F(FolderChanges, OnlyEmptyFoldersAreRemoved) {
    EXPECT_FALSE(removeFile(path("folder")));
    EXPECT_EQ(errno, EISDIR);
    test::writeFile(path("folder/file"), "");
    EXPECT_FALSE(removeFolder(path("folder")));
    EXPECT_EQ(errno, ENOTEMPTY);
    EXPECT_TRUE(removeFile(path("folder/file")));
    EXPECT_TRUE(removeFolder(path("folder")));
    EXPECT_FALSE(removeFolder(path("file")));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(FolderChanges, OnlyRenamingReplaces) {
    test::writeFile(path("new"), "new");
    for (const auto rename : {&renameToNewName, &moveToNewName})
        for (const char *taken : {"file", "folder", "link"}) {
            EXPECT_FALSE(rename(path("new"), path(taken)));
            EXPECT_EQ(errno, EEXIST) << taken;
        }
    EXPECT_TRUE(renameItem(path("new"), path("file")));
    EXPECT_EQ(test::readFile(path("file")), "new");
    EXPECT_TRUE(renameToNewName(path("file"), path("renamed")));
    EXPECT_TRUE(moveToNewName(path("folder"), path("moved")));
    EXPECT_TRUE(fs::is_directory(path("moved")));
}

} // namespace
} // namespace vellomir
