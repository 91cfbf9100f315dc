#include "cli/CommandLine.h"

#include <gmock/gmock.h>

#include <sstream>

namespace vellomir::cli {

namespace {

std::vector<std::string> argumentsOf(const std::string &line) {
    std::istringstream words(line);
    std::string program;
    words >> program;
    EXPECT_EQ(program, "vellomir-cli");
    std::vector<std::string> arguments;
    for (std::string word; words >> word;)
        arguments.push_back(word);
    return arguments;
}

/// Checks the examples of a command and of those below it.
void checkExamples(const CommandDescription &command, const std::string &path) {
    EXPECT_TRUE(!command.commands.empty() || !command.examples.empty()) << path;
    for (const Example &example : command.examples) {
        EXPECT_TRUE(example.line.starts_with(path + " ")) << example.line;
        EXPECT_NO_THROW(
            EXPECT_TRUE(std::holds_alternative<Request>(parse(argumentsOf(example.line)))))
            << example.line;
    }
    for (const CommandDescription &each : command.commands)
        checkExamples(each, path + " " + each.name);
}

TEST(Examples, EveryCommandHasOnesThatItTakes) {
    checkExamples(describeCommands(), "vellomir-cli");
}

TEST(CommandDescription, HasOperandsOptionsAndTheirWords) {
    const CommandDescription program = describeCommands();
    EXPECT_EQ(program.name, "vellomir-cli");
    const CommandDescription &duplicate = program.commands.at(0);
    EXPECT_EQ(duplicate.name, "duplicate");
    EXPECT_EQ(duplicate.operands.at(0).name, "PACKAGE");
    EXPECT_TRUE(duplicate.operands.at(0).isRequired);
    EXPECT_EQ(duplicate.options.at(0).name, "--help");
    EXPECT_EQ(duplicate.options.at(0).shortName, "-h");
    EXPECT_EQ(duplicate.options.at(0).value, "");
    EXPECT_EQ(duplicate.options.at(1).name, "--number");
    EXPECT_EQ(duplicate.options.at(1).value, "TEXT");
    EXPECT_TRUE(duplicate.options.at(1).choices().empty());
    const OptionDescription choice{.name = "--x", .shortName = {}, .value = "a|bc|d", .help = {}};
    EXPECT_THAT(choice.choices(), testing::ElementsAre("a", "bc", "d"));
}

} // namespace

} // namespace vellomir::cli
