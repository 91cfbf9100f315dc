#include "Vellomir/Sandbox/Sandbox.h"
#include "Vellomir/Sandbox/SandboxFiles.h"
#include "files/Error.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Umask.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vellomir {

using archive::Data;
using archive::URL;
namespace fs = std::filesystem;

namespace {

class SandboxReplacing : public testing::Test {
protected:
    SandboxReplacing() {
        test::writeFile(folder_ / "outside/secret.txt", "secret");
        fs::create_directories(folder_ / "box/in/side");
        test::writeFile(folder_ / "box/in/a.txt", "a");
    }

    [[nodiscard]] fs::path box(const std::string &path) const { return folder_ / "box" / path; }
    [[nodiscard]] URL url(const std::string &path) const { return URL::file(box(path).string()); }
    void link(const std::string &path, const std::string &target) const {
        fs::create_symlink(target, box(path));
    }
    [[nodiscard]] std::string outside(const std::string &name) const {
        return folder_ / "outside" / name;
    }

    static Data bytes(std::string_view text) { return Data(text); }

    /// The code of the error that the action must throw.
    template <class Action>
    static std::error_code errorOf(Action action) {
        try {
            action();
        } catch (const Error &error) {
            EXPECT_NE(error.path(), "");
            return error.code();
        }
        return {};
    }

    test::TemporaryFolder folder_;
    Sandbox sandbox_{folder_.url("box")};
    SandboxFiles files_{sandbox_.root()};
};

TEST_F(SandboxReplacing, FileSizeIsThatOfRegularFilesOnly) {
    link("in/link", "a.txt");
    EXPECT_EQ(files_.fileSize(url("in/a.txt")), 1U);
    for (const char *name : {"in/link", "in/side", "in/missing", "in/a.txt/b", "../outside"})
        EXPECT_EQ(files_.fileSize(url(name)), std::nullopt) << name;
}

TEST_F(SandboxReplacing, ReplaceKeepsModeAndNeedsNoRightToWrite) {
    for (const mode_t mode : {0444U, 0600U, 0755U}) {
        ASSERT_EQ(::chmod(box("in/a.txt").c_str(), mode), 0);
        const test::Umask umask(0077);
        files_.replace(url("in/a.txt"), bytes("new content"));
        EXPECT_EQ(files_.fileSize(url("in/a.txt")), 11U);
        struct stat status {};
        ASSERT_EQ(::stat(box("in/a.txt").c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, mode);
        EXPECT_EQ(files_.children(url("in")).size(), 2U);
    }
}

TEST_F(SandboxReplacing, ReplaceGoesAroundItsOwnNames) {
    test::writeFile(box("in/.vellomir-new-0"), "an item of the package");
    files_.replace(url("in/a.txt"), bytes("b"));
    EXPECT_EQ(test::readFile(box("in/a.txt")), "b");
    EXPECT_EQ(test::readFile(box("in/.vellomir-new-0")), "an item of the package");
    EXPECT_EQ(files_.children(url("in")).size(), 3U);
}

TEST_F(SandboxReplacing, ReplaceRefusesAllButRegularFiles) {
    link("in/link", "a.txt");
    link("in/outside", outside("secret.txt"));
    EXPECT_EQ(errorOf([&] { files_.replace(url("in/missing"), bytes("b")); }),
              FileError::fileNoSuchFile);
    for (const char *name : {"in/link", "in/outside", "in/side"})
        EXPECT_EQ(errorOf([&] { files_.replace(url(name), bytes("b")); }),
                  FileError::fileWriteFileExists)
            << name;
    EXPECT_EQ(test::readFile(box("in/a.txt")), "a");
    EXPECT_EQ(test::readFile(outside("secret.txt")), "secret");
}

TEST_F(SandboxReplacing, FailedReplaceKeepsOldFileAndLeavesNoOther) {
    const test::FileSizeLimit limit(10);
    EXPECT_EQ(errorOf([&] { files_.replace(url("in/a.txt"), bytes(std::string(100, 'b'))); }),
              FileError::fileWriteUnknown);
    EXPECT_EQ(test::readFile(box("in/a.txt")), "a");
    EXPECT_EQ(files_.children(url("in")).size(), 2U);
}

} // namespace

} // namespace vellomir
