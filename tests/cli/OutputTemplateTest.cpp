#include "cli/OutputTemplate.h"

#include "files/Error.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <utility>
#include <vector>

namespace vellomir::cli {

namespace {

const OutputTemplate::Values all = {
    .package = "App", .number = "2", .name = "Notes2", .identifier = "com.example.notes2"};

TEST(OutputTemplate, PlaceholdersGetTheirValues) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"out", "out"},
        {"out/{name}.ipa", "out/Notes2.ipa"},
        {"{package}-{number}/{identifier}", "App-2/com.example.notes2"},
        {"{{name}", "{name}"},
        {"{{{number}}", "{2}"},
        {"a}b", "a}b"},
    };
    for (const auto &[text, path] : cases)
        EXPECT_EQ(OutputTemplate(text).path(all), path) << text;
}

TEST(OutputTemplate, UnknownAndUnfinishedPlaceholdersAreRefused) {
    for (const std::string text : {"{", "a{name", "{}", "{bogus}", "{Name}", "{ name}", "{na{{me}"})
        EXPECT_THROW(OutputTemplate{text}, std::invalid_argument) << text;
}

TEST(OutputTemplate, PathIsKnownOnceAllValuesAre) {
    OutputTemplate::Values some = all;
    some.name.reset();
    EXPECT_EQ(OutputTemplate("{number}/{name}.ipa").path(some), std::nullopt);
    EXPECT_EQ(OutputTemplate("{number}/{name}.ipa").folder(some), "2/");
    EXPECT_EQ(OutputTemplate("{name}/x.ipa").folder(some), std::nullopt);
    EXPECT_EQ(OutputTemplate("{name}.ipa").folder(some), "");
    EXPECT_EQ(OutputTemplate("a/b{name}/").folder(some), std::nullopt);
    EXPECT_EQ(OutputTemplate("a/b/{number}.ipa").path(some), "a/b/2.ipa");
}

TEST(OutputTemplate, ValuesNeverLeadToAnotherFolder) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"../../x", "out/_._.._x.ipa"},
        {"/etc/passwd", "out/_etc_passwd.ipa"},
        {"..", "out/_..ipa"},
        {".hidden", "out/_hidden.ipa"},
        {"a\nb\x1b", "out/a_b_.ipa"},
        {std::string("a\0b", 3), "out/a_b.ipa"},
        {"{number}", "out/{number}.ipa"},
        {"é", "out/é.ipa"},
    };
    for (const auto &[name, path] : cases)
        EXPECT_EQ(OutputTemplate("out/{name}.ipa").path({.name = name}), path) << name;
}

TEST(OutputTemplate, EmptyValuesLeaveNoFolderName) {
    for (const std::string text : {"{name}", "out/{name}", ".{name}", "out/.{name}.", "{name}/x"})
        EXPECT_THROW(static_cast<void>(OutputTemplate(text).path({.name = ""})), Error) << text;
    EXPECT_EQ(OutputTemplate("../a{name}").path({.name = ""}), "../a");
}

TEST(OutputTemplate, NumberIsReplacedInOtherTexts) {
    EXPECT_EQ(withNumber("com.{number}.n{number}", "2"), "com.2.n2");
    EXPECT_EQ(withNumber("{number}{", "{number}"), "{number}{");
    EXPECT_EQ(withNumber("{name}", "2"), "{name}");
}

} // namespace

} // namespace vellomir::cli
