#include "cli/EntryPaths.h"

#include <gtest/gtest.h>

namespace vellomir::cli {

using Type = archive::Entry::EntryType;

namespace {

struct Addition {
    std::string path;
    Type type;
    std::string problem = {};
};

void expect(const std::vector<Addition> &additions) {
    EntryPaths paths;
    for (const Addition &each : additions)
        EXPECT_EQ(paths.add(each.path, each.type).value_or(""), each.problem) << each.path;
}

const std::string same = "another entry has the same path";
const std::string folder = "another entry makes a folder of its path";
const std::string through = "its path leads through another entry, which is no folder";
const std::string out = "its path leads out of the folder that it is unpacked into";
const std::string none = "its path is no file name";

TEST(EntryPaths, DifferentPathsAreAccepted) {
    expect({{"a", Type::file},
            {"b", Type::symlink},
            {"A", Type::file},
            {"d/a", Type::file},
            {"d/", Type::directory},
            {"d/", Type::directory},
            {"d/d/", Type::directory}});
}

TEST(EntryPaths, DuplicatePathsAreReported) {
    expect({{"a", Type::file},
            {"a", Type::file, same},
            {"a", Type::symlink, same},
            {"a/", Type::directory, same},
            {"./a", Type::file, same},
            {"/a", Type::file, same},
            {"b/../a", Type::file, same},
            {"c//d", Type::file},
            {"c/d", Type::file, same}});
}

TEST(EntryPaths, FileUsedAsFolderIsReported) {
    expect({{"d/a", Type::file}, {"d", Type::file, folder}, {"d", Type::symlink, folder}});
    expect({{"d/", Type::directory}, {"d", Type::file, folder}});
    expect({{"d", Type::symlink}, {"d/a", Type::file, through}, {"d/", Type::directory, same}});
}

TEST(EntryPaths, PathsOutsideDestinationAreReported) {
    expect({{"..", Type::directory, out},
            {"../a", Type::file, out},
            {"a/../../b", Type::file, out},
            {"/..", Type::directory, out},
            {"a/../b", Type::file},
            {"..a", Type::file}});
}

TEST(EntryPaths, OnlyFolderMayBeDestinationItself) {
    expect({{"./", Type::directory},
            {"/", Type::directory},
            {".", Type::file, none},
            {"", Type::file, none},
            {"", Type::directory, none}});
}

TEST(EntryPaths, TooLongNamesAreReported) {
    expect({{std::string("a\0b", 3), Type::file, "its path holds a zero byte"},
            {std::string(255, 'n'), Type::file},
            {std::string(256, 'n'), Type::file, "its path holds a name of more than 255 bytes"}});
}

/// Every prefix is stored once: a path of 65,000 bytes does not take quadratic memory.
TEST(EntryPaths, LongPathsTakeLinearMemory) {
    EntryPaths paths;
    std::string path;
    for (int depth = 0; depth < 32000; ++depth)
        path += "a/";
    for (int index = 0; index < 100; ++index)
        EXPECT_EQ(paths.add(path + std::to_string(index), Type::file), std::nullopt);
    EXPECT_EQ(paths.add(path + "7", Type::file), same);
}

} // namespace

} // namespace vellomir::cli
