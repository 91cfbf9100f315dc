#include "tests/Sandbox/SandboxFixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir {

using archive::URL;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

using SandboxTreesTest = test::SandboxFixture;

TEST_F(SandboxTreesTest, FolderMovesWithContents) {
    files_.createFolder(url("to"));
    files_.move(url("in"), url("to/here"));
    EXPECT_EQ(test::readFile(box("to/here/a.txt")), "a");
    EXPECT_FALSE(fs::exists(box("in")));
}

TEST_F(SandboxTreesTest, MoveOverwritesNothing) {
    files_.createFolder(url("empty"));
    EXPECT_EQ(errorOf([&] { files_.move(url("in"), url("empty")); }),
              FileError::fileWriteFileExists);
    EXPECT_EQ(errorOf([&] { files_.move(url("none"), url("new")); }),
              FileError::fileReadNoSuchFile);
    EXPECT_NE(errorOf([&] { files_.move(url("in"), url("none/new")); }), std::error_code());
    EXPECT_EQ(test::readFile(box("in/a.txt")), "a");
}

TEST_F(SandboxTreesTest, LinkIsMovedItself) {
    link("alias", outside());
    files_.move(url("alias"), url("in/alias"));
    EXPECT_EQ(fs::read_symlink(box("in/alias")), outside());
}

TEST_F(SandboxTreesTest, ReadOnlyFolderMovesAndKeepsMode) {
    files_.createFolder(url("from/packed/deep"));
    files_.createFolder(url("to"));
    ::chmod(box("from/packed").c_str(), 0555);
    ::chmod(box("from").c_str(), 0555);
    files_.move(url("from/packed"), url("to/packed"));
    EXPECT_EQ(fs::status(box("to/packed")).permissions(), fs::perms(0555));
    EXPECT_EQ(fs::status(box("from")).permissions(), fs::perms(0555));
    EXPECT_TRUE(fs::exists(box("to/packed/deep")));
}

TEST_F(SandboxTreesTest, RemovalDoesNotFollowLinks) {
    link("in/alias", outside());
    link("in/side/file", outside("secret.txt"));
    files_.remove(url("in"));
    EXPECT_FALSE(fs::exists(box("in")));
    EXPECT_EQ(test::readFile(outside("secret.txt")), "secret");
}

TEST_F(SandboxTreesTest, RemovedLinkKeepsItsFolder) {
    link("alias", "in");
    files_.remove(url("alias"));
    EXPECT_EQ(test::readFile(box("in/a.txt")), "a");
    EXPECT_FALSE(fs::is_symlink(box("alias")));
}

TEST_F(SandboxTreesTest, FoldersWithoutPermissionsAreRemoved) {
    for (const mode_t mode : {0U, 0400U, 0500U, 0100U, 0200U}) {
        test::writeFile(box("tree/a/b/c.txt"), "c");
        for (const char *path : {"tree/a/b", "tree/a", "tree"})
            ::chmod(box(path).c_str(), mode);
        EXPECT_NO_THROW(files_.remove(url("tree"))) << std::oct << mode;
        EXPECT_FALSE(fs::exists(box("tree"))) << std::oct << mode;
    }
}

TEST_F(SandboxTreesTest, RemovingMissingItemFailsUnlessAllowed) {
    EXPECT_EQ(errorOf([&] { files_.remove(url("none")); }), FileError::fileReadNoSuchFile);
    EXPECT_NO_THROW(files_.removeIfThere(url("none")));
    EXPECT_NO_THROW(files_.removeIfThere(url("none/below")));
    EXPECT_NO_THROW(files_.removeIfThere(url("in/a.txt/below")));
    link("dangling", "nowhere");
    files_.removeIfThere(url("dangling"));
    EXPECT_FALSE(fs::is_symlink(box("dangling")));
}

/// Deeper than paths may be long and than a process may have files open.
TEST_F(SandboxTreesTest, TreesMayBeOfAnyDepth) {
    constexpr int depth = 5000;
    int folder = ::open(box("in").c_str(), O_DIRECTORY | O_RDONLY);
    for (int index = 0; index < depth; ++index) {
        ASSERT_EQ(::mkdirat(folder, "d", 0700), 0);
        const int next = ::openat(folder, "d", O_DIRECTORY | O_RDONLY);
        ::close(folder);
        folder = next;
    }
    ASSERT_EQ(::mkdirat(folder, "last", 0700), 0);
    ::close(folder);
    const auto found = files_.findFirst(
        url("in"), [](const URL &item) { return item.lastPathComponent() == "last"; });
    ASSERT_TRUE(found);
    EXPECT_EQ(found->path().size(), box("in").string().size() + 2 * depth + 5);
    EXPECT_NO_THROW(files_.requireItem(*found));
    files_.remove(url("in"));
    EXPECT_FALSE(fs::exists(box("in")));
}

TEST_F(SandboxTreesTest, ChildrenAreDirectOnly) {
    link("in/alias", "side");
    const auto children = files_.children(url("in"));
    EXPECT_THAT(children, UnorderedElementsAre(url("in/a.txt"), url("in/alias"),
                                               URL::folder(box("in/side").string())));
    EXPECT_EQ(errorOf([&] { static_cast<void>(files_.children(url("none"))); }),
              FileError::fileReadNoSuchFile);
}

TEST_F(SandboxTreesTest, SearchReportsFolderFirstAndSkipsLinks) {
    test::writeFile(box("tree/a/b/c.txt"), "c");
    link("tree/a/loop", "..");
    std::vector<std::string> found;
    const auto start = box("tree").string().size() + 1;
    EXPECT_FALSE(files_.findFirst(url("tree"), [&](const URL &item) {
        found.push_back(item.path().substr(start));
        return false;
    }));
    EXPECT_THAT(found, UnorderedElementsAre("a", "a/b", "a/b/c.txt", "a/loop"));
    EXPECT_LT(std::find(found.begin(), found.end(), "a/b"),
              std::find(found.begin(), found.end(), "a/b/c.txt"));
}

TEST_F(SandboxTreesTest, SearchEndsAtFirstMatch) {
    test::writeFile(box("tree/a/b/c.txt"), "c");
    int asked = 0;
    const auto found = files_.findFirst(url("tree"), [&](const URL &) { return ++asked == 2; });
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(*found, URL::folder(box("tree/a/b").string()));
}

TEST_F(SandboxTreesTest, SearchSkipsUnreadableFolders) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root may read everything";
    test::writeFile(box("tree/closed/x"), "");
    test::writeFile(box("tree/listed/x"), "");
    test::writeFile(box("tree/open/x"), "");
    ::chmod(box("tree/closed").c_str(), 0);
    ::chmod(box("tree/listed").c_str(), 0400);
    const auto found = files_.findFirst(
        url("tree"), [](const URL &item) { return item.lastPathComponent() == "x"; });
    EXPECT_EQ(*found, url("tree/open/x"));
}

} // namespace

} // namespace vellomir
