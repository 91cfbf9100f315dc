#include "archive/Archive.h"
#include "tests/Sandbox/SandboxFixture.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"
#include "tests/support/Umask.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir {

using archive::Progress;
using archive::URL;
namespace fs = std::filesystem;

namespace {

using SandboxFilesTest = test::SandboxFixture;

// --- The sandbox itself -----------------------------------------------------------------------

TEST_F(SandboxFilesTest, SandboxFoldersAreForOwnerOnly) {
    const Sandbox sandbox(folder_.url("new/er/box"));
    for (const fs::path &path :
         {folder_ / "new/er/box", folder_ / "new/er/box/Documents", folder_ / "new/er/box/tmp"})
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all) << path;
    EXPECT_EQ(sandbox.documentsFolder()->path(), folder_ / "new/er/box/Documents");
    EXPECT_EQ(sandbox.temporaryFolder().path(), folder_ / "new/er/box/tmp");
}

TEST_F(SandboxFilesTest, SandboxKeepsExistingFiles) {
    test::writeFile(box("Documents/x"), "x");
    const Sandbox again(folder_.url("box"));
    EXPECT_EQ(test::readFile(box("Documents/x")), "x");
}

TEST_F(SandboxFilesTest, SandboxRefusesLinksAndFilesAsFolders) {
    fs::create_directories(folder_ / "linked");
    fs::create_directory_symlink(outside(), folder_ / "linked/Documents");
    EXPECT_THROW(Sandbox(folder_.url("linked")), Error);
    test::writeFile(folder_ / "filed/tmp", "");
    EXPECT_THROW(Sandbox(folder_.url("filed")), Error);
}

TEST_F(SandboxFilesTest, SandboxResolvesLinksToRoot) {
    fs::create_directory_symlink(folder_ / "box", folder_ / "alias");
    EXPECT_EQ(Sandbox(folder_.url("alias")).root(), sandbox_.root());
}

// --- Walls ------------------------------------------------------------------------------------

TEST_F(SandboxFilesTest, LinksInsideAreFollowed) {
    link("in/relative", "side/../a.txt");
    link("absolute", box("in").string());
    link("chain", "absolute/relative");
    for (const char *path :
         {"in/a.txt", "in/relative", "absolute/a.txt", "chain", "in/side/../a.txt"})
        EXPECT_EQ(files_.read(url(path), 100).text(), "a") << path;
}

TEST_F(SandboxFilesTest, NothingOutsideIsReadOrWritten) {
    link("up", "../outside/secret.txt");
    link("absolute", outside("secret.txt"));
    link("folder", outside());
    link("in/upup", "../../outside");
    link("dangling", outside("new.txt"));
    link("back", "../box/in/a.txt");
    for (const char *path : {"up", "absolute", "folder/secret.txt", "in/upup/secret.txt",
                             "../outside/secret.txt", "in/../../outside/secret.txt", "back"}) {
        EXPECT_EQ(errorOf([&] { files_.requireItem(url(path)); }),
                  FileError::fileReadInvalidFileName)
            << path;
        EXPECT_EQ(errorOf([&] { static_cast<void>(files_.read(url(path), 100)); }),
                  FileError::fileReadInvalidFileName)
            << path;
        EXPECT_EQ(errorOf([&] { files_.write(url(path), bytes("evil")); }),
                  FileError::fileReadInvalidFileName)
            << path;
    }
    EXPECT_EQ(errorOf([&] { files_.write(url("dangling"), bytes("x")); }),
              FileError::fileReadInvalidFileName);
    EXPECT_EQ(errorOf([&] { files_.createFolder(url("folder/new")); }),
              FileError::fileReadInvalidFileName);
    EXPECT_EQ(errorOf([&] { files_.remove(url("folder/secret.txt")); }),
              FileError::fileReadInvalidFileName);
    EXPECT_EQ(errorOf([&] { files_.move(url("folder/secret.txt"), url("x")); }),
              FileError::fileReadInvalidFileName);
    EXPECT_EQ(errorOf([&] { files_.move(url("in/a.txt"), url("folder/a.txt")); }),
              FileError::fileReadInvalidFileName);
    EXPECT_EQ(errorOf([&] { static_cast<void>(files_.children(url("folder"))); }),
              FileError::fileReadInvalidFileName);
    EXPECT_FALSE(files_.findFirst(url("folder"), [](const URL &) { return true; }));
    EXPECT_EQ(test::readFile(outside("secret.txt")), "secret");
    EXPECT_FALSE(fs::exists(outside("new.txt")));
    EXPECT_FALSE(fs::exists(outside("new")));
}

TEST_F(SandboxFilesTest, FolderWithRootNameAsPrefixIsOutside) {
    test::writeFile(folder_ / "boxer/x", "x");
    EXPECT_THROW(files_.requireItem(folder_.url("boxer/x")), Error);
    link("sly", folder_ / "boxer/x");
    EXPECT_THROW(files_.requireItem(url("sly")), Error);
}

TEST_F(SandboxFilesTest, CircularLinksAreRefused) {
    link("one", "two");
    link("two", "one");
    EXPECT_THROW(files_.requireItem(url("one")), Error);
    EXPECT_NO_THROW(files_.remove(url("one")));
}

TEST_F(SandboxFilesTest, PathsWithoutOwnNameAreRefused) {
    for (const char *path : {"", ".", "..", "in/.", "in/..", "in/side/../.."}) {
        const URL place("file", box("").string() + "/" + path);
        EXPECT_EQ(errorOf([&] { files_.remove(place); }), FileError::fileReadInvalidFileName)
            << path;
    }
    EXPECT_TRUE(fs::exists(box("in/a.txt")));
}

/// The names above are walked again for every "..".
TEST_F(SandboxFilesTest, TooManyLinksAreRefused) {
    std::string down;
    std::string up;
    for (int depth = 1; depth <= 300; ++depth) {
        down += "f/";
        up += "../";
        if (depth == 100)
            link("far", down + up + "in/a.txt"); // 5,000 steps
    }
    fs::create_directories(box(down));
    link("farther", down + up + "in/a.txt"); // 45,000 steps
    EXPECT_NO_THROW(files_.requireItem(url("far")));
    try {
        files_.requireItem(url("farther"));
        FAIL() << "45,000 steps were taken";
    } catch (const Error &error) {
        EXPECT_EQ(error.systemError(), ELOOP);
    }
}

TEST_F(SandboxFilesTest, PathWithoutLinksIsReturned) {
    link("alias", "in");
    link("in/last", "a.txt");
    EXPECT_EQ(files_.withoutLinks(url("alias/side/../new")), url("in/new"));
    EXPECT_EQ(files_.withoutLinks(url("alias/last")), url("in/last"));
    EXPECT_THROW(static_cast<void>(files_.withoutLinks(url("none/new"))), Error);
}

// --- Files ------------------------------------------------------------------------------------

TEST_F(SandboxFilesTest, WritingReplacesTheContentInPlace) {
    link("in/alias", "a.txt");
    files_.write(url("in/alias"), bytes("longer than before"));
    EXPECT_EQ(test::readFile(box("in/a.txt")), "longer than before");
    EXPECT_TRUE(fs::is_symlink(box("in/alias")));
    files_.write(url("in/a.txt"), bytes(""));
    EXPECT_EQ(test::readFile(box("in/a.txt")), "");
    files_.write(url("in/new.txt"), bytes("new"));
    EXPECT_EQ(test::readFile(box("in/new.txt")), "new");
}

TEST_F(SandboxFilesTest, OnlyFilesAreReadAndWritten) {
    ASSERT_EQ(::mkfifo(box("pipe").c_str(), 0600), 0);
    EXPECT_NE(errorOf([&] { static_cast<void>(files_.read(url("pipe"), 100)); }),
              std::error_code());
    EXPECT_NE(errorOf([&] { files_.write(url("pipe"), bytes("x")); }), std::error_code());
    EXPECT_NE(errorOf([&] { static_cast<void>(files_.read(url("in"), 100)); }), std::error_code());
    EXPECT_NE(errorOf([&] { files_.write(url("in"), bytes("x")); }), std::error_code());
    EXPECT_EQ(errorOf([&] { static_cast<void>(files_.read(url("none"), 100)); }),
              FileError::fileReadNoSuchFile);
}

TEST_F(SandboxFilesTest, FilesAboveLimitAreNotRead) {
    files_.write(url("four"), bytes("1234"));
    EXPECT_EQ(files_.read(url("four"), 4).text(), "1234");
    EXPECT_EQ(errorOf([&] { static_cast<void>(files_.read(url("four"), 3)); }),
              FileError::fileReadTooLarge);
}

TEST_F(SandboxFilesTest, MissingParentFoldersAreMade) {
    files_.createFolder(url("x/y/z"));
    EXPECT_TRUE(fs::is_directory(box("x/y/z")));
    EXPECT_NO_THROW(files_.createFolder(url("x/y/z")));
    EXPECT_EQ(errorOf([&] { files_.createFolder(url("in/a.txt")); }),
              FileError::fileWriteFileExists);
    EXPECT_NE(errorOf([&] { files_.createFolder(url("in/a.txt/below")); }), std::error_code());
}

// --- Copying ----------------------------------------------------------------------------------

TEST_F(SandboxFilesTest, CopiesFilesOfAnySizeFromOutside) {
    for (const std::size_t size : {0U, 1U, 100'000U, 20'000'000U}) {
        const std::string content = test::randomText(size);
        test::writeFile(outside("large"), content);
        files_.copyIn(URL::file(outside("large")), url("copy"), nullptr);
        EXPECT_TRUE(test::readFile(box("copy")) == content) << size;
    }
}

TEST_F(SandboxFilesTest, CopySourceMayBeLink) {
    link("source", outside("secret.txt"));
    link("in/target", outside("secret.txt"));
    files_.copyIn(url("source"), url("in/target"), nullptr);
    EXPECT_EQ(test::readFile(box("in/target")), "secret");
    EXPECT_FALSE(fs::is_symlink(box("in/target")));
}

TEST_F(SandboxFilesTest, CopyReplacesExistingItem) {
    files_.copyIn(URL::file(outside("secret.txt")), url("in"), nullptr);
    EXPECT_EQ(test::readFile(box("in")), "secret");
}

TEST_F(SandboxFilesTest, FileMayBeCopiedOntoItself) {
    files_.copyIn(url("in/a.txt"), url("in/a.txt"), nullptr);
    EXPECT_EQ(test::readFile(box("in/a.txt")), "a");
}

TEST_F(SandboxFilesTest, OnlyFilesAreCopied) {
    ASSERT_EQ(::mkfifo(outside("pipe").c_str(), 0600), 0);
    for (const std::string &source :
         {outside("pipe"), outside(), std::string("/dev/zero"), outside("none")}) {
        EXPECT_NE(errorOf([&] { files_.copyIn(URL::file(source), url("in/a.txt"), nullptr); }),
                  std::error_code())
            << source;
        EXPECT_EQ(test::readFile(box("in/a.txt")), "a") << source;
    }
}

TEST_F(SandboxFilesTest, CopyCountsProgressAndStopsWhenCancelled) {
    test::writeFile(outside("large"), test::randomText(20'000'000));
    const auto progress = Progress::make();
    std::vector<std::int64_t> counts;
    progress->setObserver([&](const Progress &now) {
        counts.push_back(now.completedUnitCount());
        if (now.completedUnitCount() > 0)
            progress->cancel();
    });
    // In another file system, where files cannot share blocks, or in this one, if it can't either.
    const auto code =
        errorOf([&] { files_.copyIn(URL::file(outside("large")), url("copy"), progress); });
    EXPECT_EQ(progress->totalUnitCount(), 20'000'000);
    if (counts.back() == 0)
        GTEST_SKIP() << "this file system copies at once";
    EXPECT_EQ(code, archive::Archive::ArchiveError::cancelledOperation);
    EXPECT_LT(counts.back(), 20'000'000);
    EXPECT_FALSE(fs::exists(box("copy"))) << "half a copy is of no use";
}

TEST_F(SandboxFilesTest, FailedCopyIsRemoved) {
    test::writeFile(outside("large"), std::string(1'000'000, 'x'));
    const auto code = [&] {
        const test::FileSizeLimit limit(4096);
        return errorOf([&] { files_.copyIn(URL::file(outside("large")), url("copy"), nullptr); });
    }();
    if (!code)
        GTEST_SKIP() << "this file system copies without writing";
    EXPECT_EQ(code, FileError::fileWriteUnknown);
    EXPECT_FALSE(fs::exists(box("copy")));
}

TEST_F(SandboxFilesTest, UmaskDoesNotChangeModes) {
    const auto modeOf = [this](const char *name) {
        return static_cast<unsigned>(fs::status(box(name)).permissions());
    };
    for (const mode_t mask : {000U, 022U, 077U, 0777U}) {
        const test::Umask umask(mask);
        fs::remove(box("new"));
        files_.write(url("new"), bytes("1"));
        EXPECT_EQ(modeOf("new"), 0644U) << mask;
        for (const unsigned mode : {0600U, 0644U, 0755U, 0640U}) {
            fs::permissions(box("new"), fs::perms(mode));
            files_.write(url("new"), bytes("2"));
            EXPECT_EQ(modeOf("new"), mode) << mask;
        }
        EXPECT_EQ(test::readFile(box("new")), "2");
    }
}

} // namespace

} // namespace vellomir
