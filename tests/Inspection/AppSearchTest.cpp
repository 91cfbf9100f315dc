// tests/Job/BundleSearchTest.cpp compares the search with that of a job.

#include "Vellomir/Inspection/AppSearch.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

using testing::ElementsAre;

TEST(UnpackedPath, HasNoEmptyComponentsAndStaysInTheFolder) {
    EXPECT_EQ(unpackedPath("a/b"), "a/b");
    EXPECT_EQ(unpackedPath("/a/b/"), "a/b");
    EXPECT_EQ(unpackedPath("a//b/./c"), "a/b/c");
    EXPECT_EQ(unpackedPath("a/../b"), "b");
    EXPECT_EQ(unpackedPath("a..b/.c"), "a..b/.c");
    EXPECT_EQ(unpackedPath(".."), std::nullopt);
    EXPECT_EQ(unpackedPath("a/../../b"), std::nullopt);
    EXPECT_EQ(unpackedPath("../folder/b"), std::nullopt);
}

/// A search over these paths in both orders, which must find the same.
AppSearch searchOf(std::vector<std::string> paths) {
    AppSearch search;
    for (const std::string &path : paths)
        search.look(path, false);
    AppSearch reversed;
    for (auto path = paths.rbegin(); path != paths.rend(); ++path)
        reversed.look(*path, false);
    EXPECT_EQ(search.propertyList(), reversed.propertyList());
    return search;
}

TEST(AppSearch, FindsTheAppInPayloadFirst) {
    const AppSearch search = searchOf({"A.app/Info.plist", "Payload/A.app/PlugIns/B.app/Info.plist",
                                       "Payload/C.app/Info.plist", "Payload/B.app/Info.plist"});
    EXPECT_EQ(search.propertyList(), "Payload/A.app/PlugIns/B.app/Info.plist");
    EXPECT_EQ(search.bundle(), "Payload/A.app");
    EXPECT_THAT(search.apps(), ElementsAre("A.app", "B.app", "C.app"));
}

TEST(AppSearch, FilesComeBeforeFolders) {
    const AppSearch search =
        searchOf({"Payload/A.app/AppClips/C.app/Info.plist", "Payload/A.app/Info.plist",
                  "Payload/A.app/Info.plist.old", "Payload/A.app/Info.plists/x"});
    EXPECT_EQ(search.propertyList(), "Payload/A.app/Info.plist");
}

TEST(AppSearch, FolderIsNoPropertyList) {
    EXPECT_EQ(searchOf({"Payload/A.app/Info.plist/x"}).propertyList(), std::nullopt);
    EXPECT_EQ(searchOf({"Payload/A/Info.plist"}).propertyList(), std::nullopt);
    EXPECT_EQ(searchOf({}).propertyList(), std::nullopt);
}

} // namespace
} // namespace vellomir
