#include "cli/Destination.h"

#include "files/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vellomir::cli {

namespace fs = std::filesystem;

namespace {

std::error_code codeOf(const std::string &output, bool mayReplace = false) {
    try {
        static_cast<void>(Destination::find(output, mayReplace));
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

TEST(Destination, FolderKeepsResultName) {
    const test::TemporaryFolder folder;
    for (const std::string end : {"", "/"}) {
        const auto found = Destination::find(folder.path().string() + end, false);
        EXPECT_EQ(found.name, std::nullopt);
        EXPECT_EQ(found.path("x.ipa"), (folder / "x.ipa").string());
    }
    EXPECT_EQ(Destination::find(".", false).path("x.ipa"), "x.ipa");
}

TEST(Destination, LinkToFolderCountsAsFolder) {
    const test::TemporaryFolder folder;
    fs::create_directory(folder / "real");
    fs::create_symlink("real", folder / "link");
    EXPECT_EQ(Destination::find((folder / "link").string(), false).name, std::nullopt);
}

TEST(Destination, OtherPathIsResultName) {
    const test::TemporaryFolder folder;
    const auto found = Destination::find((folder / "my.ipa").string(), false);
    EXPECT_EQ(found.folder, folder.path().string());
    EXPECT_EQ(found.path("x.ipa"), (folder / "my.ipa").string());
    EXPECT_EQ(Destination::find("my.ipa", false).path("x.ipa"), "my.ipa");
}

TEST(Destination, FolderMustExist) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "file", "");
    EXPECT_EQ(codeOf((folder / "missing/my.ipa").string()), FileError::fileReadNoSuchFile);
    EXPECT_EQ(codeOf((folder / "missing/").string()), FileError::fileReadNoSuchFile);
    EXPECT_EQ(codeOf((folder / "file/").string()), FileError::fileReadNoSuchFile);
    EXPECT_EQ(codeOf((folder / "file/my.ipa").string()), FileError::fileReadNoSuchFile);
}

TEST(Destination, ExistingFileIsRefusedWithoutForce) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "my.ipa", "");
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_EQ(codeOf((folder / "my.ipa").string()), FileError::fileWriteFileExists);
    EXPECT_EQ(codeOf((folder / "dangling").string()), FileError::fileWriteFileExists);
    EXPECT_EQ(codeOf((folder / "my.ipa").string(), true), std::error_code());
}

FilePlace placeAt(const fs::path &path) {
    return {.name = path.string(), .path = path.string()};
}

TEST(Destination, OnlyRegularFilesAreReplaced) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "file", "");
    fs::create_directory(folder / "folder");
    fs::create_symlink("file", folder / "link");
    fs::create_symlink("pipe", folder / "linkToPipe");
    fs::create_symlink("folder", folder / "linkToFolder");
    fs::create_symlink("nowhere", folder / "dangling");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const char *name : {"file", "link", "new"})
        EXPECT_NO_THROW(cli::requireReplaceable(placeAt(folder / name))) << name;
    for (const char *name : {"folder", "linkToFolder", "pipe", "linkToPipe", "dangling"})
        EXPECT_THROW(cli::requireReplaceable(placeAt(folder / name)), Error) << name;
    EXPECT_THROW(cli::requireReplaceable(placeAt("/dev/null")), Error);
    for (const char *name : {"pipe", "linkToPipe", "dangling"})
        EXPECT_EQ(codeOf((folder / name).string(), true), FileError::fileWriteFileExists) << name;
    EXPECT_EQ(codeOf((folder / "link").string(), true), std::error_code());
}

} // namespace

} // namespace vellomir::cli
