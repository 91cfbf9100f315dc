#include "archive/PathBelow.h"

#include "files/Error.h"

#include <gtest/gtest.h>

namespace vellomir::archive {

namespace {

struct Case {
    std::string path;
    std::string below;
};

const Case cases[] = {{"a", "a"},
                      {"a/b", "a/b"},
                      {"a/", "a"},
                      {"/etc/x", "etc/x"},
                      {"//y", "y"},
                      {"./w", "w"},
                      {"c//d", "c/d"},
                      {"b/../z", "z"},
                      {"e/./f", "e/f"},
                      {"g/h/..", "g"},
                      {"i/j/../", "i"},
                      {".", ""},
                      {"./", ""},
                      {"k/..", ""},
                      {"", ""},
                      {"a..b/.c", "a..b/.c"},
                      {"a//b//c/", "a/b/c"},
                      {"one/../two/./three", "two/three"}};

TEST(PathBelow, IsTheSameForEveryDestination) {
    for (const std::string destination : {"/", "/tmp", "/tmp/out/", "/tmp/x/../out", "//tmp//out"})
        for (const Case &each : cases)
            EXPECT_EQ(pathBelow(URL::folder(destination), each.path), each.below)
                << each.path << " in " << destination;
}

TEST(PathBelow, RefusesPathsThatLeaveTheFolder) {
    for (const std::string path : {"..", "../a", "a/../..", "a/../../b", "./../c", "../out2/a"})
        try {
            static_cast<void>(pathBelow(URL::folder("/tmp/out"), path));
            ADD_FAILURE() << path;
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), FileError::fileReadInvalidFileName);
            EXPECT_EQ(error.path(), "/tmp/out/" + path);
        }
}

TEST(PathBelow, NothingIsAboveTheRoot) {
    EXPECT_EQ(pathBelow(URL::folder("/"), "../a"), "a");
    EXPECT_EQ(pathBelow(URL::folder("/"), "a/../../b"), "b");
}

TEST(PathBelow, AcceptsAPathThatComesBack) {
    EXPECT_EQ(pathBelow(URL::folder("/tmp/out"), "../out/a"), "a");
}

} // namespace

} // namespace vellomir::archive
