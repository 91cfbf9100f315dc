#include "files/FileDescriptor.h"

#include "files/FileStatus.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

class FileDescriptors : public testing::Test {
protected:
    FileDescriptors() { test::writeFile(folder_ / "file", "old"); }

    [[nodiscard]] std::string path(const char *name) const { return folder_ / name; }
    [[nodiscard]] static int failure(const FileDescriptor &file) {
        return file.isOpen() ? 0 : errno;
    }

    test::TemporaryFolder folder_;
};

TEST_F(FileDescriptors, NewFilesReplaceNothing) {
    fs::create_symlink("nowhere", folder_ / "link");
    EXPECT_EQ(failure(createFile(path("file"), Access::write, 0600)), EEXIST);
    EXPECT_EQ(failure(createFile(path("link"), Access::write, 0600)), EEXIST);
    EXPECT_EQ(failure(createFile(path("link"), Access::write, 0600, IfThere::open)), ELOOP);
    EXPECT_EQ(test::readFile(folder_ / "file"), "old");
    EXPECT_FALSE(fs::exists(folder_ / "nowhere"));
}

TEST_F(FileDescriptors, ExistingFilesAreOpenedOrEmptied) {
    EXPECT_TRUE(createFile(path("file"), Access::readAndWrite, 0600, IfThere::open).isOpen());
    EXPECT_EQ(test::readFile(folder_ / "file"), "old");
    EXPECT_TRUE(createFile(path("file"), Access::write, 0600, IfThere::empty).isOpen());
    EXPECT_EQ(test::readFile(folder_ / "file"), "");
    EXPECT_TRUE(createFile(path("new"), Access::write, 0600, IfThere::open).isOpen());
    EXPECT_TRUE(fs::exists(folder_ / "new"));
}

TEST_F(FileDescriptors, LinksAreFollowedOnlyWhereTheyMayBe) {
    fs::create_symlink("file", folder_ / "link");
    fs::create_directory_symlink(folder_.path(), folder_ / "folder-link");
    EXPECT_TRUE(openFile(path("link"), Access::read).isOpen());
    EXPECT_EQ(failure(openFile(path("link"), Access::read, Links::refuse)), ELOOP);
    EXPECT_TRUE(openFolder(path("folder-link"), FolderUse::list, Links::follow).isOpen());
    for (const FolderUse use : {FolderUse::names, FolderUse::list})
        EXPECT_FALSE(openFolder(path("folder-link"), use).isOpen());
    EXPECT_TRUE(statusOf(openItem(path("link")).get())->isLink());
}

TEST_F(FileDescriptors, OpeningAPipeDoesNotWait) {
    ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    EXPECT_TRUE(openFile(path("pipe"), Access::read).isOpen());
    EXPECT_EQ(failure(openFile(path("pipe"), Access::write)), ENXIO);
}

/// A child process must not inherit the files of a job.
TEST_F(FileDescriptors, AreClosedInChildProcesses) {
    const FileDescriptor folder = openFolder(folder_.path().string(), FolderUse::list);
    const auto expectClosing = [](const FileDescriptor &file) {
        ASSERT_TRUE(file.isOpen());
        EXPECT_NE(::fcntl(file.get(), F_GETFD) & FD_CLOEXEC, 0);
    };
    expectClosing(folder);
    expectClosing(openFile({folder.get(), "file"}, Access::read));
    expectClosing(createFile({folder.get(), "new"}, Access::write, 0600));
    expectClosing(openItem({folder.get(), "file"}));
    fs::create_directory(folder_ / "below");
    expectClosing(openBelow(folder.get(), "below"));
    expectClosing(duplicate(folder.get()));
}

TEST_F(FileDescriptors, AFailedOpeningCanBeClosed) {
    FileDescriptor file = openFile(path("missing"), Access::read);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(file.close());
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileDescriptors, APathLeadsToTheOpenItemAfterItWasRenamed) {
    const FileDescriptor file = openFile(path("file"), Access::read);
    fs::rename(folder_ / "file", folder_ / "renamed");
    EXPECT_EQ(test::readFile(descriptorPath(file.get())), "old");
}

// --- Folders below -----------------------------------------------------------------------------

using OpenWay = FileDescriptor (*)(int, const std::string &);

class OpenBelow : public testing::TestWithParam<OpenWay> {
protected:
    void SetUp() override {
        fs::create_directories(folder_ / "a/b/c");
        test::writeFile(folder_ / "a/file", "");
        fs::create_directory_symlink("a", folder_ / "link");
        fs::create_directory_symlink("b", folder_ / "a/last");
    }

    [[nodiscard]] FileDescriptor open(const std::string &path) const {
        const FileDescriptor root = openFolder(folder_.path().string(), FolderUse::names);
        return GetParam()(root.get(), path);
    }

    [[nodiscard]] int failure(const std::string &path) const {
        return open(path).isOpen() ? 0 : errno;
    }

    test::TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Ways, OpenBelow, testing::Values(&openBelow, &openBelowByComponents));

TEST_P(OpenBelow, OpensTheFolderAtThePath) {
    for (const char *path : {"a", "a/b", "a/b/c"})
        EXPECT_TRUE(isSameItem(statusOf(open(path).get()),
                               statusOf((folder_ / path).string(), Links::refuse)))
            << path;
}

TEST_P(OpenBelow, FollowsNoLink) {
    EXPECT_NE(failure("link"), 0);
    EXPECT_NE(failure("link/b"), 0);
    EXPECT_NE(failure("a/last"), 0);
    EXPECT_NE(failure("a/last/c"), 0);
}

TEST_P(OpenBelow, KeepsTheReasonOfAFailure) {
    EXPECT_EQ(failure("x"), ENOENT);
    EXPECT_EQ(failure("a/x/c"), ENOENT);
    EXPECT_EQ(failure("a/file"), ENOTDIR);
    EXPECT_EQ(failure("a/file/x"), ENOTDIR);
}

} // namespace
} // namespace vellomir
