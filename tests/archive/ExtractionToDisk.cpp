// Extracting entries to places on a disk.

#include "archive/FileManager.h"
#include "tests/support/Random.h"
#include "tests/support/SingleEntry.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
using test::checksum;
using test::errorOf;
using test::Single;
using test::thrownBy;

namespace {

class ToAURL : public testing::Test {
protected:
    CRC32 extract(const test::RawEntry &raw, const std::string &name,
                  const Archive::ExtractOptions &options = {}) {
        const Single single(raw);
        return single.archive->extract(single.entry, folder_.url(name), options);
    }

    [[nodiscard]] struct stat status(const std::string &name) const {
        struct stat result {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &result), 0);
        return result;
    }

    test::TemporaryFolder folder_;
};

constexpr time_t storedTime = 1735737958; // of rawArchive

TEST_F(ToAURL, FileGetsParentsModeAndDate) {
    test::RawEntry raw{"a", "content"};
    raw.attributes = 0100640U << 16U;
    EXPECT_EQ(extract(raw, "x/y/a"), checksum("content"));
    EXPECT_EQ(test::readFile(folder_ / "x/y/a"), "content");
    EXPECT_EQ(status("x/y/a").st_mode, 0100640U);
    EXPECT_EQ(status("x/y/a").st_mtime, storedTime);
}

TEST_F(ToAURL, ExistingFileIsKept) {
    test::writeFile(folder_ / "a", "precious");
    for (const auto &raw : {test::RawEntry{"a", "content"}, test::rawLink("a", "target")}) {
        const Error error = thrownBy([&] { extract(raw, "a"); });
        EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
        EXPECT_EQ(error.path(), folder_ / "a");
        EXPECT_EQ(test::readFile(folder_ / "a"), "precious");
    }
}

TEST_F(ToAURL, ExistingDirectoryIsAccepted) {
    std::filesystem::create_directory(folder_ / "d");
    EXPECT_EQ(extract(test::rawDirectory("d/"), "d"), 0U);
    EXPECT_EQ(status("d").st_mode, 0040755U);
    EXPECT_EQ(status("d").st_mtime, storedTime);
    EXPECT_EQ(extract(test::rawDirectory("d/"), "x/new"), 0U);
    EXPECT_EQ(status("x/new").st_mode, 0040755U);
}

TEST_F(ToAURL, LinksAreNotFollowed) {
    test::writeFile(folder_ / "victim", "precious");
    std::filesystem::create_symlink("victim", folder_ / "link");
    std::filesystem::create_symlink("nowhere", folder_ / "dangling");
    std::filesystem::create_directory_symlink(".", folder_ / "folderlink");
    for (const auto &name : {"link", "dangling"})
        EXPECT_EQ(errorOf([&] {
                      extract({"a", "content"}, name);
                  }),
                  FileError::fileWriteFileExists);
    EXPECT_EQ(errorOf([&] { extract(test::rawDirectory("d/"), "folderlink"); }),
              FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder_ / "victim"), "precious");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "nowhere"));
}

TEST_F(ToAURL, LinkTargetIsKept) {
    extract(test::rawLink("l", "../no/such/place"), "x/l");
    EXPECT_EQ(std::filesystem::read_symlink(folder_ / "x/l"), "../no/such/place");
    EXPECT_EQ(status("x/l").st_mtime, storedTime);
}

TEST_F(ToAURL, LinkTargetMustBeText) {
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", "\xFF\xFE"), "l"); }),
              ArchiveError::invalidEntryPath);
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", std::string("a\0b", 3)), "l"); }),
              ArchiveError::invalidEntryPath);
}

TEST_F(ToAURL, NameTooLongIsNoSuchFile) {
    const std::string name(300, 'n');
    const Error error = thrownBy([&] { extract({"a", "content"}, name); });
    EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / name);
}

TEST_F(ToAURL, PathTooLongIsNoSuchFile) {
    std::string name = "f";
    while ((folder_ / name).string().size() < 4095)
        name += (folder_ / name).string().size() % 200 == 0 ? "/x" : "x";
    name.resize(name.size() + 4096 - (folder_ / name).string().size(), 'x');
    const Error error = thrownBy([&] { extract({"a", "content"}, name); });
    EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
    EXPECT_EQ(error.systemError(), ENAMETOOLONG);
    EXPECT_EQ(error.path(), folder_ / name);
    EXPECT_THAT(error.what(), testing::HasSubstr("File name too long"));
}

/// Gives this process mounts of its own; a user who may not mount becomes one who may.
bool hasOwnMounts() {
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    const bool isRoot = ::geteuid() == 0;
    if (::unshare(CLONE_NEWNS | (isRoot ? 0 : CLONE_NEWUSER)) != 0)
        return false;
    if (!isRoot) {
        test::writeFile("/proc/self/setgroups", "deny");
        test::writeFile("/proc/self/uid_map", user + " " + user + " 1");
        test::writeFile("/proc/self/gid_map", group + " " + group + " 1");
    }
    return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

constexpr int cannotMount = 77;

/// 0 if the condition holds in a child process that has a file system for two items there.
int resultOnFullFileSystem(const std::filesystem::path &folder,
                           const std::function<bool()> &condition) {
    const pid_t child = ::fork();
    if (child == 0) {
        int result = 1;
        try {
            // The folder itself is the first item.
            const bool isMounted = hasOwnMounts() && ::mount("none", folder.c_str(), "tmpfs", 0,
                                                             "nr_inodes=2,mode=0777") == 0;
            result = !isMounted ? cannotMount : condition() ? 0 : 1;
        } catch (const std::exception &error) {
            std::fputs(error.what(), stderr);
        }
        ::_exit(result);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(ToAURL, FullFileSystemIsNoSuchFileWithTheReason) {
    std::filesystem::create_directory(folder_ / "full");
    const int result = resultOnFullFileSystem(folder_ / "full", [&] {
        extract({"a", "1"}, "full/first");
        const Error error = thrownBy([&] { extract({"a", "1"}, "full/second"); });
        const std::string_view text = error.what();
        return error.code() == FileError::fileNoSuchFile && error.systemError() == ENOSPC &&
               text.find("No space left on device") != std::string_view::npos;
    });
    if (result == cannotMount)
        GTEST_SKIP() << "file systems cannot be mounted here";
    EXPECT_EQ(result, 0);
}

TEST_F(ToAURL, ExistingItemIsFoundBeforeTheTargetIsRead) {
    test::writeFile(folder_ / "file", "precious");
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    for (const std::string name : {"file", "link"})
        for (const std::string &target : {std::string("\xFF"), std::string(100000, 'x')}) {
            const auto progress = Progress::make(42);
            EXPECT_EQ(
                errorOf([&] { extract(test::rawLink("l", target), name, {.progress = progress}); }),
                FileError::fileWriteFileExists);
            EXPECT_EQ(progress->totalUnitCount(), 42);
            EXPECT_EQ(progress->completedUnitCount(), 0);
        }
}

TEST_F(ToAURL, LinkTargetTooLongIsAnErrorWithTheReason) {
    for (const std::size_t length : {4096U, 70000U}) {
        const Error error =
            thrownBy([&] { extract(test::rawLink("l", std::string(length, 'x')), "x/l"); });
        EXPECT_EQ(error.systemError(), ENAMETOOLONG) << length;
        EXPECT_EQ(error.path(), folder_ / "x/l");
    }
}

TEST_F(ToAURL, RefusedLinkMakesNoFolders) {
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", "\xFF"), "x/y/l"); }),
              ArchiveError::invalidEntryPath);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x"));
}

TEST_F(ToAURL, ParentThatIsAFileIsAnError) {
    test::writeFile(folder_ / "a", "a file");
    EXPECT_NE(errorOf([&] { extract({"b", "content"}, "a/b"); }), std::error_code());
}

TEST_F(ToAURL, CancellingKeepsTheWrittenBytes) {
    const auto progress = Progress::make();
    progress->setObserver(test::cancellingAt(1));
    EXPECT_EQ(errorOf([&] {
                  extract({"a", test::randomText(40000)}, "a", {.progress = progress});
              }),
              ArchiveError::cancelledOperation);
    EXPECT_EQ(test::readFile(folder_ / "a"), test::randomText(40000).substr(0, 16384));
}

} // namespace

} // namespace vellomir::archive
