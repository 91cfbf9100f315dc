// Questions about items of the disk, and the attributes that are read and written.

#include "archive/FileManager.h"
#include "tests/support/SingleEntry.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using EntryType = Entry::EntryType;
using OSType = Entry::OSType;
using test::thrownBy;
namespace fs = std::filesystem;

namespace {

class Items : public testing::Test {
protected:
    test::TemporaryFolder folder_;
    FileManager manager_;
};

TEST_F(Items, ExistWithoutFollowingLinks) {
    fs::create_symlink("nowhere", folder_ / "dangling");
    EXPECT_TRUE(manager_.itemExists(folder_.url("dangling")));
    EXPECT_FALSE(manager_.itemExists(folder_.url("nowhere")));
    EXPECT_FALSE(manager_.itemExists(URL("https", folder_.path())));
}

TEST_F(Items, HaveATypeASizeAModeAndADate) {
    test::writeFile(folder_ / "file", "12345");
    fs::permissions(folder_ / "file", fs::perms(0640));
    fs::create_directory(folder_ / "dir");
    fs::create_symlink("file", folder_ / "link");
    EXPECT_EQ(manager_.typeForItem(folder_.url("file")), EntryType::file);
    EXPECT_EQ(manager_.typeForItem(folder_.url("dir")), EntryType::directory);
    EXPECT_EQ(manager_.typeForItem(folder_.url("link")), EntryType::symlink);
    EXPECT_EQ(manager_.fileSizeForItem(folder_.url("file")), 5);
    EXPECT_EQ(manager_.fileSizeForItem(folder_.url("link")), 4);
    EXPECT_EQ(manager_.permissionsForItem(folder_.url("file")), 0100640);
    EXPECT_EQ(manager_.permissionsForItem(folder_.url("no")), 0);
    const timespec moment[] = {{0, UTIME_OMIT}, {1000000000, 500000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (folder_ / "file").c_str(), moment, 0), 0);
    EXPECT_EQ(manager_.fileModificationDateTimeForItem(folder_.url("file")), Date{1000000000.5});
}

TEST_F(Items, ThatAreMissingAreNamed) {
    const URL missing = folder_.url("no");
    for (const std::function<void()> &question :
         {std::function<void()>([&] { static_cast<void>(manager_.typeForItem(missing)); }),
          {[&] { static_cast<void>(manager_.fileSizeForItem(missing)); }},
          {[&] { static_cast<void>(manager_.fileModificationDateTimeForItem(missing)); }},
          {[&] { static_cast<void>(manager_.typeForItem(URL("https", "/"))); }}})
        EXPECT_EQ(thrownBy(question).code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(thrownBy([&] { static_cast<void>(manager_.typeForItem(missing)); }).path(),
              missing.path());
}

TEST_F(Items, CountAsUnitsOfProgress) {
    test::writeFile(folder_ / "file", "12345");
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url("file")), 5);
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url(".")), 1);
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url("no")), -1);
    EXPECT_EQ(Archive::totalUnitCountForAddingItem(folder_.url("file")), 5);
    EXPECT_EQ(Archive::makeProgressForAddingItem(folder_.url("file"))->totalUnitCount(), 5);
    EXPECT_EQ(manager_.makeProgressForAddingItem(folder_.url("file"))->totalUnitCount(), 5);
}

TEST_F(Items, GetTheirParents) {
    manager_.createParentDirectoryStructure(folder_.url("x/y/z"));
    manager_.createParentDirectoryStructure(folder_.url("x/y/z"));
    EXPECT_TRUE(fs::is_directory(folder_ / "x/y"));
    EXPECT_FALSE(fs::exists(folder_ / "x/y/z"));
    test::writeFile(folder_ / "file", "");
    EXPECT_NE(
        thrownBy([&] { manager_.createParentDirectoryStructure(folder_.url("file/y/z")); }).code(),
        std::error_code());
}

TEST(Permissions, ComeFromUnixHostsOnly) {
    const auto permissions = &FileManager::permissions;
    EXPECT_EQ(permissions(0100600U << 16U, OSType::unix, EntryType::file), 0600);
    EXPECT_EQ(permissions(0104755U << 16U, OSType::osx, EntryType::file), 04755);
    EXPECT_EQ(permissions(0, OSType::unix, EntryType::file), 0644);
    EXPECT_EQ(permissions(0040000U << 16U, OSType::unix, EntryType::directory), 0755);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::msdos, EntryType::file), 0644);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::msdos, EntryType::directory), 0755);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::unused, EntryType::symlink), 0644);
}

TEST(Permissions, ComeWithTheTimeOfTheEntry) {
    const test::Single single({.name = "a", .data = "1", .attributes = 0100640U << 16U});
    const FileAttributes attributes = FileManager::attributes(single.entry);
    EXPECT_EQ(attributes.posixPermissions, 0640);
    EXPECT_EQ(attributes, single.entry.fileAttributes());
}

TEST(Permissions, AreWrittenWithTheirType) {
    const auto attributes = &FileManager::externalFileAttributesForEntry;
    EXPECT_EQ(attributes(EntryType::file, 0644), 0100644U << 16U);
    EXPECT_EQ(attributes(EntryType::file, 0100644), 0100644U << 16U);
    EXPECT_EQ(attributes(EntryType::directory, 0755), 0040755U << 16U);
    EXPECT_EQ(attributes(EntryType::symlink, 0777), 0120777U << 16U);
}

} // namespace

} // namespace vellomir::archive
