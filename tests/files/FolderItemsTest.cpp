#include "files/FolderItems.h"

#include "files/Error.h"
#include "files/FileDescriptor.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>

namespace vellomir {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

/// The names in walking order; those that end in "/" are folders.
Names walked(const Names &names, WalkLevel level) {
    std::vector<FolderItem> items;
    for (const std::string &name : names) {
        const bool isFolder = name.ends_with('/');
        items.push_back({isFolder ? name.substr(0, name.size() - 1) : name, isFolder});
    }
    sortForWalk(items, level);
    Names sorted;
    for (const FolderItem &item : items)
        sorted.push_back(item.isFolder ? item.name + '/' : item.name);
    return sorted;
}

TEST(WalkOrder, FilesComeBeforeFolders) {
    EXPECT_THAT(walked({"A/", "z", "B/", "a"}, WalkLevel::below),
                ElementsAre("a", "z", "A/", "B/"));
}

TEST(WalkOrder, PayloadIsFirstAtTheTopOnly) {
    EXPECT_THAT(walked({"__MACOSX/", "Apps/", "Payload/", "iTunesMetadata.plist"}, WalkLevel::top),
                ElementsAre("Payload/", "iTunesMetadata.plist", "Apps/", "__MACOSX/"));
    EXPECT_THAT(walked({"Apps/", "Payload/", "file"}, WalkLevel::below),
                ElementsAre("file", "Apps/", "Payload/"));
    EXPECT_THAT(walked({"payload/", "Payload~", "Payload", "A"}, WalkLevel::top),
                ElementsAre("Payload", "A", "Payload~", "payload/"));
}

TEST(WalkOrder, NamesGoByTheirBytes) {
    const Names expected = {"",    " ", "Info.plist", "Info.plist~", "Z",      "_",   "a",
                            "a.b", "b", "z\u0301",    "\u00E9",      "\u4e2d", "\xFF"};
    std::mt19937 generator(1);
    for (int round = 0; round < 100; ++round) {
        Names names = expected;
        std::shuffle(names.begin(), names.end(), generator);
        ASSERT_EQ(walked(names, WalkLevel::below), expected) << round;
    }
}

TEST(WalkOrder, NoLocaleChangesIt) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char *locale : {"C.UTF-8", "de_DE.UTF-8", "sv_SE.UTF-8", "tr_TR.UTF-8"}) {
        std::setlocale(LC_ALL, locale); // one that is not installed changes nothing
        EXPECT_THAT(walked({"b", "\u00C4", "a", "B", "A"}, WalkLevel::below),
                    ElementsAre("A", "B", "a", "b", "\u00C4"))
            << locale;
    }
    std::setlocale(LC_ALL, before.c_str());
}

// --- Listing ----------------------------------------------------------------------------------

class FolderItems : public testing::Test {
protected:
    [[nodiscard]] FileDescriptor open(const char *name) const {
        return FileDescriptor(::open((folder_ / name).c_str(), O_RDONLY | O_CLOEXEC));
    }

    test::TemporaryFolder folder_;
};

TEST_F(FolderItems, TellFoldersFromFilesAndLinks) {
    test::writeFile(folder_ / "in/file", "");
    fs::create_directory(folder_ / "in/folder");
    fs::create_directory_symlink("folder", folder_ / "in/link");
    const auto in = open("in");
    for (int round = 0; round < 2; ++round) // the same descriptor lists any number of times
        EXPECT_THAT(folderItems(in.get(), "in"),
                    UnorderedElementsAre(FolderItem{"file", false}, FolderItem{"folder", true},
                                         FolderItem{"link", false}));
}

/// A folder may be read without being entered.
TEST_F(FolderItems, NeedNoRightToEnterTheFolder) {
    test::writeFile(folder_ / "in/file", "");
    ASSERT_EQ(::chmod((folder_ / "in").c_str(), 0400), 0);
    EXPECT_THAT(folderItems(open("in").get(), "in"), ElementsAre(FolderItem{"file", false}));
    ASSERT_EQ(::chmod((folder_ / "in").c_str(), 0700), 0);
}

TEST_F(FolderItems, ErrorsNameTheFolder) {
    test::writeFile(folder_ / "file", "");
    const auto file = open("file");
    for (const int folder : {-1, file.get()}) {
        try {
            static_cast<void>(folderItems(folder, "/some/folder"));
            ADD_FAILURE();
        } catch (const Error &error) {
            EXPECT_EQ(error.path(), "/some/folder");
            EXPECT_NE(error.systemError(), 0);
        }
    }
}

} // namespace

} // namespace vellomir
