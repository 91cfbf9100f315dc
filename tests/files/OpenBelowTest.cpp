#include "files/FileDescriptor.h"

#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace vellomir {

namespace fs = std::filesystem;

namespace {

using Open = FileDescriptor (*)(int, const std::string &);

class OpenBelow : public testing::TestWithParam<Open> {
protected:
    void SetUp() override {
        fs::create_directories(folder_ / "a/b/c");
        test::writeFile(folder_ / "a/file", "");
        fs::create_directory_symlink("a", folder_ / "link");
        fs::create_directory_symlink("b", folder_ / "a/last");
    }

    [[nodiscard]] FileDescriptor open(const std::string &path) const {
        const FileDescriptor root(::open(folder_.path().c_str(), O_PATH | O_DIRECTORY));
        return GetParam()(root.get(), path);
    }

    [[nodiscard]] int failure(const std::string &path) const {
        return open(path).isOpen() ? 0 : errno;
    }

    test::TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(Ways, OpenBelow, testing::Values(&openBelow, &openBelowByComponents));

TEST_P(OpenBelow, OpensTheFolderAtThePath) {
    for (const std::string path : {"a", "a/b", "a/b/c"}) {
        struct stat opened {};
        struct stat named {};
        ASSERT_EQ(::fstat(open(path).get(), &opened), 0) << path;
        ASSERT_EQ(::stat((folder_ / path).c_str(), &named), 0);
        EXPECT_EQ(opened.st_ino, named.st_ino) << path;
    }
}

TEST_P(OpenBelow, FollowsNoLink) {
    EXPECT_NE(failure("link"), 0);
    EXPECT_NE(failure("link/b"), 0);
    EXPECT_NE(failure("a/last"), 0);
    EXPECT_NE(failure("a/last/c"), 0);
}

TEST_P(OpenBelow, SaysWhatIsMissing) {
    EXPECT_EQ(failure("x"), ENOENT);
    EXPECT_EQ(failure("a/x/c"), ENOENT);
    EXPECT_EQ(failure("a/file"), ENOTDIR);
    EXPECT_EQ(failure("a/file/x"), ENOTDIR);
}

} // namespace

} // namespace vellomir
