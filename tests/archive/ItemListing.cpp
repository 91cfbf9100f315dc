#include "archive/ItemListing.h"

#include "tests/support/Errors.h"
#include "tests/support/HostileListings.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace vellomir::archive {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

class ItemListing : public testing::Test {
protected:
    void makeFolder(const std::string &path) { fs::create_directories(root_ / path); }
    void makeFile(const std::string &path) { test::writeFile(root_ / path, path); }
    void makeLink(const std::string &path, const std::string &target) {
        fs::create_symlink(target, root_ / path);
    }
    [[nodiscard]] std::vector<std::string> list(std::string_view path = "") const {
        return subpaths(folder_.url("root").appendingPathComponent(path));
    }
    /// All that "find" finds.
    [[nodiscard]] std::vector<std::string> referee() const {
        const test::Verdict verdict =
            test::run({"find", root_.string(), "-mindepth", "1", "-printf", "%P\\0"});
        EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
        std::vector<std::string> found;
        for (std::size_t start = 0; start < verdict.output.size();) {
            const std::size_t end = verdict.output.find('\0', start);
            found.push_back(verdict.output.substr(start, end - start));
            start = end + 1;
        }
        return found;
    }

    test::TemporaryFolder folder_;
    fs::path root_ = folder_ / "root";
};

template <class Container>
Container sorted(Container items) {
    std::sort(items.begin(), items.end());
    return items;
}

TEST_F(ItemListing, OfAnEmptyFolderIsEmpty) {
    makeFolder("");
    EXPECT_THAT(list(), IsEmpty());
}

TEST_F(ItemListing, NamesEveryItemBelow) {
    makeFile("a.txt");
    makeFile("Payload/App.app/Info.plist");
    makeFolder("Payload/empty");
    EXPECT_THAT(list(), UnorderedElementsAre("a.txt", "Payload", "Payload/App.app",
                                             "Payload/App.app/Info.plist", "Payload/empty"));
    EXPECT_THAT(list("Payload/App.app"), ElementsAre("Info.plist"));
    EXPECT_THAT(list("Payload/App.app/"), ElementsAre("Info.plist"));
}

TEST_F(ItemListing, PutsAFolderRightBeforeItsContent) {
    for (const char *path : {"a/b/c/d", "a/b/e", "a/f", "g/h", "i", "j/k/l"})
        makeFile(path);
    const auto paths = list();
    for (std::size_t index = 0; index < paths.size(); ++index) {
        const std::string &path = paths[index];
        const auto isInside = [&](const std::string &other) {
            return other.starts_with(path + '/');
        };
        const auto count = std::count_if(paths.begin(), paths.end(), isInside);
        for (std::ptrdiff_t next = 1; next <= count; ++next)
            EXPECT_TRUE(isInside(paths.at(index + static_cast<std::size_t>(next)))) << path;
    }
    EXPECT_EQ(paths.size(), 12U);
    EXPECT_EQ(list(), paths); // the same each time
}

TEST_F(ItemListing, DoesNotFollowLinks) {
    makeFile("outside/secret");
    makeFile("inside/file");
    makeLink("inside/folder", "../outside");
    makeLink("inside/loop", ".");
    makeLink("inside/dangling", "nowhere");
    makeLink("inside/absolute", "/");
    EXPECT_THAT(list("inside"),
                UnorderedElementsAre("file", "folder", "loop", "dangling", "absolute"));
}

TEST_F(ItemListing, NamesPipes) {
    makeFolder("");
    ASSERT_EQ(::mkfifo((root_ / "pipe").c_str(), 0600), 0);
    EXPECT_THAT(list(), ElementsAre("pipe"));
}

TEST_F(ItemListing, KeepsNamesAsTheyAre) {
    const std::vector<std::string> names = {" ",   ".hidden", "..a",      "a\nb",   "a\\b",
                                            "ünï", "漢字",    "\xFF\xFE", "a*?[b]", "-rf",
                                            "...", "e\u0301", "\u00E9"};
    for (const std::string &name : names)
        makeFile("folder \n/" + name);
    EXPECT_EQ(sorted(list("folder \n")), sorted(names));
}

TEST_F(ItemListing, OrderIsTheSameForEveryListing) {
    for (const char *path :
         {"Apps/x", "Payload/Main.app/Info.plist", "Payload/Main.app/A/Payload/x",
          "Payload/Main.app/A/x", "Payload/Main.app/PlugIns/P.appex/Info.plist",
          "Payload/Main.app/Zebra", "Payload/notes", "__MACOSX/Payload/x", "metadata"})
        makeFile(path);
    const std::vector<std::string> expected = {
        "Payload",
        "Payload/notes",
        "Payload/Main.app",
        "Payload/Main.app/Info.plist",
        "Payload/Main.app/Zebra",
        "Payload/Main.app/A",
        "Payload/Main.app/A/x",
        "Payload/Main.app/A/Payload",
        "Payload/Main.app/A/Payload/x",
        "Payload/Main.app/PlugIns",
        "Payload/Main.app/PlugIns/P.appex",
        "Payload/Main.app/PlugIns/P.appex/Info.plist",
        "metadata",
        "Apps",
        "Apps/x",
        "__MACOSX",
        "__MACOSX/Payload",
        "__MACOSX/Payload/x",
    };
    for (const ListFolder &listing : test::hostileListings())
        EXPECT_EQ(subpaths(folder_.url("root"), listing), expected);
    EXPECT_EQ(list(), expected);
}

TEST_F(ItemListing, AgreesWithFind) {
    for (int folder = 0; folder < 30; ++folder)
        for (int file = 0; file < 50; ++file)
            makeFile("f" + std::to_string(folder % 6) + "/g" + std::to_string(folder) + "/" +
                     std::to_string(file));
    const auto expected = referee();
    EXPECT_EQ(expected.size(), 6U + 30 + 30 * 50);
    EXPECT_EQ(sorted(list()), sorted(expected));
}

TEST_F(ItemListing, ListsDeepFolders) {
    std::string path;
    for (int depth = 0; depth < 400; ++depth)
        path += std::to_string(depth) + "/";
    makeFile(path + "file");
    const auto paths = list();
    ASSERT_EQ(paths.size(), 401U);
    EXPECT_EQ(paths.front(), "0");
    EXPECT_EQ(paths.back(), path + "file");
}

/// Swapped after it was listed, before the folder in it is opened.
TEST_F(ItemListing, DoesNotFollowALinkInPlaceOfAFolder) {
    makeFile("root/a/b/inside");
    makeFile("outside/b/SECRET");
    const auto swapping = [&](int folder, const std::string &path) {
        auto items = folderItems(folder, path);
        if (path.ends_with("/a")) {
            fs::rename(root_ / "root/a", root_ / "away");
            fs::create_directory_symlink(root_ / "outside", root_ / "root/a");
        }
        return items;
    };
    try {
        ADD_FAILURE() << testing::PrintToString(subpaths(folder_.url("root/root"), swapping));
    } catch (const Error &error) {
        EXPECT_EQ(error.path(), (root_ / "root/a/b").string());
    }
}

TEST_F(ItemListing, KeepsTheOpenedFolder) {
    makeFile("root/a/inside");
    makeFile("outside/a/SECRET");
    const auto swapping = [&](int folder, const std::string &path) {
        if (path.ends_with("/root/root")) {
            fs::rename(root_ / "root", root_ / "away");
            fs::create_directory_symlink(root_ / "outside", root_ / "root");
        }
        return folderItems(folder, path);
    };
    EXPECT_THAT(subpaths(folder_.url("root/root"), swapping), ElementsAre("a", "a/inside"));
}

// --- Failures ---------------------------------------------------------------------------------

void expectError(const URL &folder, FileError code, const std::string &path, int systemError) {
    const Error error = test::thrownBy([&] { static_cast<void>(subpaths(folder)); });
    EXPECT_EQ(error.code(), code) << error.what();
    EXPECT_EQ(error.path(), path);
    EXPECT_EQ(error.systemError(), systemError);
}

TEST_F(ItemListing, NeedsAFolder) {
    makeFile("file");
    makeLink("loop", "loop");
    expectError(folder_.url("none"), FileError::fileReadNoSuchFile, (folder_ / "none").string(),
                ENOENT);
    expectError(folder_.url("root/file"), FileError::fileReadNoSuchFile, (root_ / "file").string(),
                ENOTDIR);
    expectError(folder_.url("root/loop"), FileError::fileReadInvalidFileName,
                (root_ / "loop").string(), ELOOP);
}

TEST_F(ItemListing, NamesAFolderThatIsTooDeep) {
    makeFolder("");
    const std::string name(200, 'd');
    // No path is as long as this one becomes, so Python goes there step by step.
    const std::string script = "import os, sys\n"
                               "for step in range(30):\n"
                               "    os.mkdir(sys.argv[1])\n"
                               "    os.chdir(sys.argv[1])";
    EXPECT_EQ(test::run({"python3", "-c", script, name}, root_.string()).exitCode, 0);
    try {
        static_cast<void>(list());
        ADD_FAILURE() << "all was found";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileReadInvalidFileName) << error.what();
        EXPECT_EQ(error.systemError(), ENAMETOOLONG);
        EXPECT_THAT(error.path(), testing::StartsWith((root_ / name / name).string()));
    }
    EXPECT_EQ(test::run({"rm", "-rf", root_.string()}).exitCode, 0);
}

TEST_F(ItemListing, NamesAFolderThatCannotBeRead) {
    makeFile("open/closed/file");
    fs::permissions(root_ / "open/closed", fs::perms::none);
    if (::access((root_ / "open/closed").c_str(), R_OK) == 0)
        GTEST_SKIP() << "nothing is closed to this user";
    expectError(folder_.url("root"), FileError::fileReadNoPermission,
                (root_ / "open/closed").string(), EACCES);
}

} // namespace

} // namespace vellomir::archive
