#include "cli/CommandLine.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Arguments = std::vector<std::string>;

Options options(Arguments arguments) {
    arguments.insert(arguments.begin(), "duplicate");
    return std::get<Request>(parse(arguments)).options;
}

/// "package:number" of each copy.
std::vector<std::string> copies(const Arguments &arguments) {
    std::vector<std::string> texts;
    const Options parsed = options(arguments);
    for (const auto &copy : std::get<DuplicateBatchOptions>(parsed).copies)
        texts.push_back(copy.package + ":" + copy.number);
    return texts;
}

std::string error(const Arguments &arguments) {
    try {
        static_cast<void>(options(arguments));
    } catch (const UsageError &failure) {
        return failure.what();
    }
    return "no error";
}

TEST(DuplicatePlan, EveryPackageGetsEveryNumberInOrder) {
    EXPECT_THAT(copies({"a", "b", "--number", "2", "--number", "x"}),
                ElementsAre("a:2", "a:x", "b:2", "b:x"));
    EXPECT_THAT(copies({"--number=2", "a", "--numbers=4..5", "b", "--number", ""}),
                ElementsAre("a:2", "a:4", "a:5", "a:", "b:2", "b:4", "b:5", "b:"));
    EXPECT_THAT(copies({"a", "--numbers", "9..10", "--number", "--json", "--numbers", "0..0"}),
                ElementsAre("a:9", "a:10", "a:--json", "a:0"));
    EXPECT_THAT(copies({"--number", "2", "--", "a", "--b"}), ElementsAre("a:2", "--b:2"));
}

TEST(DuplicatePlan, OnePairIsOneJob) {
    EXPECT_EQ(std::get<DuplicateOptions>(options({"a", "--numbers", "7..7"})).number, "7");
    const auto unnumbered =
        std::get<DuplicateOptions>(options({"a", "--name", "{number}", "--identifier", "i"}));
    EXPECT_FALSE(unnumbered.isNumbered);
    EXPECT_EQ(unnumbered.changes.name, "{number}");
}

TEST(DuplicatePlan, NumberIsPutIntoNameAndIdentifier) {
    const auto batch = std::get<DuplicateBatchOptions>(
        options({"a", "--numbers", "2..3", "--name", "N {number}", "--identifier", "c.{number}"}));
    EXPECT_EQ(batch.copies.at(1).changes.name, "N 3");
    EXPECT_EQ(batch.copies.at(1).changes.identifier, "c.3");
}

TEST(DuplicatePlan, WrongNumbersAndPackagesAreRefused) {
    const std::vector<std::pair<Arguments, std::string>> cases = {
        {{"a", "--numbers", "5..2"}, "--numbers: \"5..2\" is no range of numbers such as 2..5"},
        {{"a", "--numbers", "2-5"}, "no range"},
        {{"a", "--numbers", ""}, "no range"},
        {{"a", "--numbers", "2.."}, "no range"},
        {{"a", "--numbers", "-1..5"}, "no range"},
        {{"a", "--numbers", "02..05"}, "no range"},
        {{"a", "--numbers", "1..2..3"}, "no range"},
        {{"a", "--numbers", "1..4294967296"}, "no range"},
        {{"a", "--numbers", "0..4294967295"}, "has 4294967296 numbers; one run makes at most 1000"},
        {{"a", "b", "--numbers", "1..501"}, "1002 copies are asked for"},
        {{"a", "a", "--number", "2"}, "PACKAGE: \"a\" is given twice"},
        {{"a", "", "--number", "2"}, "PACKAGE: the name may not be empty"},
        {{"a", "--number", "2", "--numbers", "1..3"}, "--number: \"2\" is given twice"},
        {{"a", "b"}, "--number is required"},
        {{"a", "b", "--number", "2", "--identifier", "c.d"}, "several copies would have"},
        {{"a", "b", "--number", "2", "--identifier", "c.{number}"}, "the identifier c.2"},
        {{"a", "--number", "2", "--number", "3", "--identifier", "c.{name}"}, "--identifier: "},
    };
    for (const auto &[arguments, message] : cases)
        EXPECT_THAT(error(arguments), HasSubstr(message)) << testing::PrintToString(arguments);
}

TEST(DuplicatePlan, WrongTemplatesAreRefused) {
    const std::vector<std::pair<Arguments, std::string>> cases = {
        {{"--output", "{bogus}.ipa"}, "--output: \"{bogus}\" is none of"},
        {{"--output", "{name"}, "a \"{\" has no \"}\""},
        {{"--output", "{name}/x.ipa"}, "only with --name and --identifier"},
        {{"--report", "{name}.json"}, "{name} and {identifier} need --name and --identifier"},
        {{"--report", "{x}.json"}, "--report: \"{x}\" is none of"},
        {{"--number", "", "--output", "{number}"}, "leave nothing of the name"},
    };
    for (const auto &[more, message] : cases) {
        Arguments arguments = {"a", "--number", "2"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        EXPECT_THAT(error(arguments), HasSubstr(message)) << testing::PrintToString(arguments);
    }
    EXPECT_THAT(error({"a", "--name", "n", "--identifier", "i", "--output", "{number}.ipa"}),
                HasSubstr("{number} needs --number or --numbers"));
    EXPECT_EQ(error({"a", "--number", "2", "--name", "n", "--output", "{name}/{identifier}.ipa"}),
              "no error");
}

} // namespace

} // namespace vellomir::cli
