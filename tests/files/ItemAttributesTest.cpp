#include "files/ItemAttributes.h"

#include "files/FileDescriptor.h"
#include "files/FileStatus.h"
#include "tests/files/Items.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

class ItemAttributesTest : public test::Items {};

TEST_F(ItemAttributesTest, PermissionsAreSetByAnyDescriptor) {
    for (const FileDescriptor &item :
         std::array{openItem(path("file")), openFile(path("file"), Access::read)}) {
        EXPECT_TRUE(setPermissions(item, S_IFREG | 0600U));
        EXPECT_TRUE(setPermissions(item, S_IFREG | 0640U));
        EXPECT_EQ(permissions("file"), 0640U);
        ASSERT_EQ(::chmod(path("file").c_str(), 0600), 0);
    }
}

TEST_F(ItemAttributesTest, PermissionsAreNotSetThroughALink) {
    ASSERT_EQ(::chmod(path("file").c_str(), 0600), 0);
    setPermissions(path("link"), 0644);
    EXPECT_EQ(permissions("file"), 0600U);
}

/// A folder that may not be read has no descriptor for reading.
TEST_F(ItemAttributesTest, FoldersGetAttributesAlsoIfTheyMayNotBeRead) {
    const FileDescriptor folder = openFolder(path("folder"), FolderUse::names);
    for (const mode_t mode : {0300U, 0500U}) {
        setFolderAttributes(folder, {mode, {1'000'000'000, 500}}, path("folder"));
        EXPECT_EQ(permissions("folder"), mode);
        const timespec time = statusOf(folder.get())->modificationTime();
        EXPECT_EQ(time.tv_sec, 1'000'000'000);
        EXPECT_EQ(time.tv_nsec, 500);
        setFolderPermissions(folder, 0700, path("folder"));
        EXPECT_EQ(permissions("folder"), 0700U);
        ASSERT_EQ(::chmod(path("folder").c_str(), 0300), 0);
    }
    ASSERT_EQ(::chmod(path("folder").c_str(), 0700), 0);
}

TEST_F(ItemAttributesTest, LinksHaveTimesOfTheirOwn) {
    const auto fileTime = statusOf(path("file"), Links::refuse)->modificationTime();
    setLinkTime(openItem(path("link")), path("link"), {1'000'000'000, 0}, path("link"));
    EXPECT_EQ(statusOf(path("link"), Links::refuse)->modificationTime().tv_sec, 1'000'000'000);
    EXPECT_EQ(statusOf(path("link"), Links::follow)->modificationTime().tv_sec, fileTime.tv_sec);
}

} // namespace
} // namespace vellomir
