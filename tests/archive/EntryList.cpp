// The list must have the order in which a folder with the same items is walked.

#include "archive/EntryList.h"
#include "archive/Error.h"
#include "archive/ItemListing.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <random>

namespace vellomir::archive {

using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

std::vector<std::string> paths(EntryList &list) {
    std::vector<std::string> found;
    for (const ListedItem &item : list.items())
        found.push_back(item.path);
    return found;
}

EntryList listOf(const std::vector<std::string> &names) {
    EntryList list;
    for (const std::string &name : names) {
        const bool isFolder = name.ends_with('/');
        list.add({.path = isFolder ? name.substr(0, name.size() - 1) : name, .isFolder = isFolder});
    }
    list.finish({});
    return list;
}

TEST(EntryList, OrderIsThatOfAWalk) {
    std::mt19937 generator(7);
    const std::vector<std::string> names = {"Payload", "a",        "a.b", "a-b",
                                            "B",       "\xc3\xa9", "0",   "~"};
    for (int round = 0; round < 30; ++round) {
        const test::TemporaryFolder folder;
        EntryList list;
        for (int count = 0; count < 60; ++count) {
            std::string path = names[generator() % names.size()];
            for (auto depth = generator() % 4; depth > 0; --depth)
                path += '/' + names[generator() % names.size()];
            const bool isFolder = generator() % 3 == 0;
            std::error_code error;
            if (fs::exists(fs::symlink_status(folder / path, error)))
                continue;
            fs::create_directories((folder / path).parent_path(), error);
            if (error)
                continue;
            if (isFolder)
                fs::create_directory(folder / path);
            else
                test::writeFile(folder / path, "");
            list.add({.path = path, .isFolder = isFolder});
        }
        // A folder that was made for a file, and was to be added later, is only implied.
        list.finish({});
        EXPECT_EQ(paths(list), subpaths(folder.url(".")));
    }
}

TEST(EntryList, MissingFoldersAreImplied) {
    EntryList list = listOf({"a/b/c", "a/b/d/", "x/y"});
    EXPECT_THAT(paths(list), ElementsAre("a", "a/b", "a/b/c", "a/b/d", "x", "x/y"));
    EXPECT_TRUE(list.find("a/b")->isFolder);
    EXPECT_EQ(list.find("a/b")->permissions, 0755);
}

TEST(EntryList, FindsItemsAndChildren) {
    EntryList list = listOf({"a/b/c", "a/d", "ab", "e/"});
    EXPECT_EQ(list.find("a/d")->path, "a/d");
    EXPECT_EQ(list.find("a/"), nullptr);
    EXPECT_EQ(list.find("b"), nullptr);
    EXPECT_EQ(list.find(""), nullptr);
    const auto names = [&](std::string_view folder) {
        std::vector<std::string> found;
        for (const ListedItem *child : list.children(folder))
            found.push_back(child->path);
        return found;
    };
    EXPECT_THAT(names(""), ElementsAre("ab", "a", "e"));
    EXPECT_THAT(names("a"), ElementsAre("a/d", "a/b"));
    EXPECT_THAT(names("e"), ElementsAre());
}

TEST(EntryList, InsertsAtTheRightPlace) {
    EntryList list = listOf({"a/b/c", "a/d", "e/"});
    list.insert({.path = "a/e"});
    EXPECT_THAT(paths(list), ElementsAre("a", "a/d", "a/e", "a/b", "a/b/c", "e"));
}

TEST(EntryList, FolderOfItem) {
    EXPECT_EQ(folderOfItem("a/b/c"), "a/b");
    EXPECT_EQ(folderOfItem("a"), "");
}

} // namespace

} // namespace vellomir::archive
