#include "cli/Arguments.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

std::vector<std::string> roundTrip(const std::vector<std::string> &arguments) {
    std::vector<std::string> result;
    for (const std::string &argument : cli::shielded(arguments))
        result.push_back(cli::unshielded(argument));
    return result;
}

TEST(Arguments, OrdinaryArgumentsAreUnchanged) {
    const std::vector<std::string> arguments = {"archive", "list", "a.zip", "--json", "a=b", "-x"};
    EXPECT_EQ(cli::shielded(arguments), arguments);
}

TEST(Arguments, EmptyValueDoesNotConsumeNextArgument) {
    EXPECT_THAT(cli::shielded({"--number=", "--json"}), ElementsAre("--number", "", "--json"));
    EXPECT_THAT(cli::shielded({"--number=1"}), ElementsAre("--number=1"));
    EXPECT_THAT(cli::shielded({"--number=a="}), ElementsAre("--number=a="));
}

TEST(Arguments, NumberMayBeAnyText) {
    EXPECT_THAT(cli::shielded({"--number", "--x=", "--y="}),
                ElementsAre("--number", "--x=", "--y", ""));
    EXPECT_THAT(cli::shielded({"--number", "--", "a"}), ElementsAre("--number", "--", "a"));
    EXPECT_THAT(cli::shielded({"--number", "--number", "--x="}),
                ElementsAre("--number", "--number", "--x", ""));
}

TEST(Arguments, BracketsAndArgumentsAfterTwoDashesAreUnchanged) {
    const std::vector<std::string> arguments = {"[a,b]", "[]", "--", "-x", "--y=", "--", "z"};
    EXPECT_THAT(roundTrip(arguments), ElementsAre("[a,b]", "[]", "-x", "--y=", "--", "z"));
    for (const std::string &each : cli::shielded(arguments))
        EXPECT_FALSE(each.starts_with('-') || each.starts_with('[')) << each;
}

TEST(Arguments, TextThatBeginsLikeMarkerIsKept) {
    EXPECT_THAT(roundTrip({"\x1f[a]", "\x1f"}), ElementsAre("\x1f[a]", "\x1f"));
}

TEST(Arguments, NamesTooLongForAFileAreRefused) {
    EXPECT_THAT(cli::objectionToName(std::string(251, 'n')), IsEmpty());
    EXPECT_THAT(cli::objectionToName(std::string(252, 'n')), HasSubstr("at most 251 bytes"));
    EXPECT_THAT(cli::objectionToNumber(std::string(251, '2')), IsEmpty());
    EXPECT_THAT(cli::objectionToNumber(std::string(252, '2')), HasSubstr("at most 251 bytes"));
}

TEST(Arguments, UnsafeEntryPathsAreRefused) {
    EXPECT_THAT(cli::objectionToPath(""), HasSubstr("empty"));
    EXPECT_THAT(cli::objectionToPath("/a"), HasSubstr("absolute"));
    EXPECT_THAT(cli::objectionToPath("a\xff"), HasSubstr("UTF-8"));
    for (const char *path : {"..", "../a", "a/..", "a/../b", "./.."})
        EXPECT_THAT(cli::objectionToPath(path), HasSubstr("\"..\"")) << path;
}

TEST(Arguments, SafeEntryPathsAreAccepted) {
    for (const char *path : {"a", "a/b", "a/", "./a", "a//b", "..a", "a..", "a/..b/c", "...", "-x"})
        EXPECT_THAT(cli::objectionToPath(path), IsEmpty()) << path;
}

} // namespace

} // namespace vellomir::cli
