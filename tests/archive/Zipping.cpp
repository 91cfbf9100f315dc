// Packing files and folders to new archives.

#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"
#include "tests/support/Referee.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
using test::thrownBy;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

class Zipping : public testing::Test {
protected:
    void zip(const std::string &source, const std::string &archive = "a.zip",
             bool shouldKeepParent = false) {
        FileManager().zipItem(folder_.url(source), folder_.url(archive), shouldKeepParent);
    }
    std::vector<std::string> zippedPaths(const std::string &name) {
        return test::paths(*Archive::open(folder_.url(name), Archive::AccessMode::read));
    }
    mode_t mode(const std::string &name) {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &status), 0) << name;
        return status.st_mode;
    }

    test::TemporaryFolder folder_;
    FileManager manager_;
};

TEST_F(Zipping, ParentFolderIsOptional) {
    test::writeFile(folder_ / "Payload/App.app/Info.plist", "plist");
    zip("Payload");
    EXPECT_THAT(zippedPaths("a.zip"), ElementsAre("App.app/", "App.app/Info.plist"));
    zip("Payload", "b.zip", true);
    EXPECT_THAT(zippedPaths("b.zip"),
                ElementsAre("Payload/App.app/", "Payload/App.app/Info.plist"));
}

TEST_F(Zipping, SingleFileIsOneEntryEitherWay) {
    test::writeFile(folder_ / "a.txt", "content");
    for (const bool shouldKeepParent : {false, true}) {
        const std::string name = shouldKeepParent ? "yes.zip" : "no.zip";
        const auto progress = Progress::make();
        manager_.zipItem(folder_.url("a.txt"), folder_.url(name), shouldKeepParent,
                         CompressionMethod::none, progress);
        EXPECT_THAT(zippedPaths(name), ElementsAre("a.txt"));
        EXPECT_EQ(progress->completedUnitCount(), 7);
    }
}

TEST_F(Zipping, ExistingDestinationIsKept) {
    test::writeFile(folder_ / "a.txt", "content");
    test::writeFile(folder_ / "a.zip", "precious");
    const Error error = thrownBy([&] { zip("a.txt"); });
    EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
    EXPECT_EQ(error.path(), folder_ / "a.zip");
    EXPECT_EQ(test::readFile(folder_ / "a.zip"), "precious");
}

TEST_F(Zipping, MissingSourceIsNamed) {
    const Error error = thrownBy([&] { zip("no"); });
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / "no");
    EXPECT_FALSE(fs::exists(folder_ / "a.zip"));
}

TEST_F(Zipping, MissingDestinationFolderIsUnwritable) {
    test::writeFile(folder_ / "a.txt", "content");
    EXPECT_EQ(thrownBy([&] { zip("a.txt", "no/a.zip"); }).code(), ArchiveError::unwritableArchive);
}

TEST_F(Zipping, ModesLinksAndEmptyFoldersAreUnpacked) {
    test::writeFile(folder_ / "in/run", "script");
    fs::permissions(folder_ / "in/run", fs::perms(0751));
    fs::create_directories(folder_ / "in/empty");
    fs::create_symlink("run", folder_ / "in/link");
    fs::create_symlink("nowhere", folder_ / "in/dangling");
    test::writeFile(folder_ / "in/\xC3\xBC.txt", "");
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        fs::remove(folder_ / "a.zip");
        fs::remove_all(folder_ / "out");
        const auto progress = Progress::make();
        manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), false, method, progress);
        EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
        EXPECT_EQ(progress->totalUnitCount(), 6 + 1 + 3 + 7);
        manager_.unzipItem(folder_.url("a.zip"), folder_.url("out"));
        EXPECT_EQ(test::readFile(folder_ / "out/run"), "script");
        EXPECT_EQ(mode("out/run"), 0100751U);
        EXPECT_TRUE(fs::is_empty(folder_ / "out/empty"));
        EXPECT_EQ(fs::read_symlink(folder_ / "out/link"), "run");
        EXPECT_EQ(fs::read_symlink(folder_ / "out/dangling"), "nowhere");
        EXPECT_TRUE(fs::exists(folder_ / "out/\xC3\xBC.txt"));
    }
}

TEST_F(Zipping, OtherProgramsReadTheArchive) {
    test::writeFile(folder_ / "in/a", test::randomText(50000));
    test::writeFile(folder_ / "in/d/b", std::string(50000, 'b'));
    fs::create_symlink("a", folder_ / "in/link");
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        fs::remove(folder_ / "a.zip");
        manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), true, method);
        const std::string path = (folder_ / "a.zip").string();
        test::expectOthersRead(path);
        fs::remove_all(folder_ / "theirs");
        ASSERT_EQ(test::run({"unzip", "-q", path, "-d", (folder_ / "theirs").string()}).exitCode,
                  0);
        EXPECT_EQ(test::run({"diff", "-r", "--no-dereference", (folder_ / "in").string(),
                             (folder_ / "theirs/in").string()})
                      .exitCode,
                  0);
    }
}

TEST_F(Zipping, ArchivesOfOtherProgramsAreUnpacked) {
    test::writeFile(folder_ / "in/a", test::randomText(50000));
    test::writeFile(folder_ / "in/d/b", std::string(50000, 'b'));
    test::writeFile(folder_ / "in/\xC3\xA4", "");
    fs::permissions(folder_ / "in/a", fs::perms(0700));
    const std::string inside = (folder_ / "in").string();
    const std::vector<std::vector<std::string>> packers = {
        {"zip", "-qr", "../a.zip", "."},
        {"zip", "-qr0", "../a.zip", "."},
        {"7z", "a", "-tzip", "../a.zip", "."},
        {"bsdtar", "--format", "zip", "-cf", "../a.zip", "."},
        {"python3", "-m", "zipfile", "-c", "../a.zip", "a", "d", "\xC3\xA4"}};
    for (const auto &packer : packers) {
        fs::remove(folder_ / "a.zip");
        fs::remove_all(folder_ / "out");
        ASSERT_EQ(test::run(packer, inside).exitCode, 0) << packer.front();
        // It does not mark its UTF-8 names: they would be read as code page 437.
        const bool isUnmarked = packer.front() == "zip";
        manager_.unzipItem(folder_.url("a.zip"), folder_.url("out"), false, nullptr,
                           isUnmarked ? std::optional(TextEncoding::utf8) : std::nullopt);
        const auto verdict = test::run({"diff", "-r", inside, (folder_ / "out").string()});
        EXPECT_EQ(verdict.exitCode, 0) << packer.front() << ": " << verdict.output;
        EXPECT_EQ(mode("out/a"), 0100700U) << packer.front();
    }
}

TEST_F(Zipping, ArchiveIsNotPackedIntoItself) {
    test::writeFile(folder_ / "in/a", "1");
    zip("in", "in/a.zip");
    EXPECT_THAT(zippedPaths("in/a.zip"), ElementsAre("a"));
}

TEST_F(Zipping, PipeIsNamed) {
    test::writeFile(folder_ / "in/a", "1");
    ASSERT_EQ(::mkfifo((folder_ / "in/pipe").c_str(), 0600), 0);
    const Error error = thrownBy([&] { zip("in"); });
    EXPECT_EQ(error.code(), FileError::fileReadUnknown);
    EXPECT_EQ(error.path(), folder_ / "in/pipe");
    EXPECT_THAT(zippedPaths("a.zip"), testing::Each("a")) << "earlier items are whole";
}

TEST_F(Zipping, NamesMustBeText) {
    test::writeFile(folder_ / "in/\xFF", "1");
    EXPECT_EQ(thrownBy([&] { zip("in"); }).code(), ArchiveError::invalidEntryPath);
}

} // namespace

} // namespace vellomir::archive
