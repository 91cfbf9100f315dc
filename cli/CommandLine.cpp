#include "cli/CommandLine.h"

#include "cli/Grammar.h"
#include "cli/Suggestion.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace vellomir::cli {

/// The command that the line got to, and how it is reached.
const CLI::App &Grammar::chosen(std::string &path) const {
    const CLI::App *command = &app_;
    path = command->get_name();
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        path += " " + command->get_name();
    }
    return *command;
}

std::string Grammar::describe(const CLI::ParseError &error) const {
    std::string path;
    const CLI::App &command = chosen(path);
    std::string why = withoutMarks(error.what());
    const auto rest = command.remaining();
    if (why == "A subcommand is required")
        why = rest.empty() ? "a command is missing"
                           : "\"" + unshielded(rest.front()) + "\" is no command";
    if (const auto meant = suggestionFor(rest, descriptionOf(command)))
        why += "; did you mean \"" + *meant + "\"?";
    return "wrong command line: " + why + " (" + path + " --help tells more)";
}

Request Grammar::read(const std::vector<std::string> &arguments) {
    std::vector<std::string> reversed = shielded(arguments);
    std::reverse(reversed.begin(), reversed.end());
    app_.parse(std::move(reversed));
    return request_;
}

std::variant<Request, Answer> Grammar::parse(const std::vector<std::string> &arguments) {
    try {
        return read(arguments);
    } catch (const CLI::CallForHelp &) {
        return Answer{app_.help()};
    } catch (const CLI::CallForVersion &) {
        return Answer{std::string(versionText) + "\n"};
    } catch (const CLI::ParseError &error) {
        throw UsageError(describe(error));
    }
}

namespace {

/// With the commands that are named only, which takes less time. Nothing for help and
/// errors, which speak of all commands.
std::optional<std::variant<Request, Answer>>
parseQuickly(const std::vector<std::string> &arguments) {
    const auto isNamed = [&](std::string_view name) {
        return std::find(arguments.begin(), arguments.end(), name) != arguments.end();
    };
    try {
        return Grammar(isNamed).read(arguments);
    } catch (const CLI::CallForVersion &) {
        return Answer{std::string(versionText) + "\n"};
    } catch (const CLI::ParseError &) {
        return std::nullopt;
    }
}

} // namespace

std::variant<Request, Answer> parse(const std::vector<std::string> &arguments) {
    const auto quickly = parseQuickly(arguments);
    return quickly ? *quickly : Grammar().parse(arguments);
}

CommandDescription describeCommands() {
    return Grammar().description();
}

} // namespace vellomir::cli
