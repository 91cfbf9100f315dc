#pragma once

#include "cli/Arguments.h"
#include "cli/Examples.h"
#include "cli/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

/// The parser library's commands in the terms of this program. For as few translation units as
/// possible: the library is all headers.
namespace vellomir::cli {

template <class Value>
using Choices = std::vector<std::pair<std::string, Value>>;

/// The words that lead to a command, without the program's name: "archive list".
inline std::string commandPath(const CLI::App &command) {
    const CLI::App *parent = command.get_parent();
    if (parent == nullptr)
        return {};
    const std::string path = commandPath(*parent);
    return path.empty() ? command.get_name() : path + " " + command.get_name();
}

/// The library's help without its remarks on the number of commands.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() {
        column_width(30);
        label("SUBCOMMAND", "COMMAND");
        label("Positionals", "Operands");
    }
    std::string make_description(const CLI::App *app) const override {
        return app->get_description() + "\n\n";
    }
};

/// One command and its options; the targets must outlive the parsing.
class CommandGrammar {
public:
    CommandGrammar(CLI::App &parent, const std::string &name, const std::string &help)
        : app_(*parent.add_subcommand(name, help)) {
        app_.group("Commands");
        app_.footer(examplesText(commandPath(app_)));
    }

    [[nodiscard]] CLI::App &app() const { return app_; }

    /// Any text. The help shows `placeholder` in its place.
    template <class Target>
    CLI::Option &text(const std::string &name, const std::string &placeholder, Target &target,
                      const std::string &help) {
        return option(name, placeholder, help,
                      [&target](const std::string &value) { target = value; });
    }

    /// An option that may be given several times, each with one text. The function gets them in
    /// their order.
    template <class Take>
    CLI::Option &repeated(const std::string &name, const std::string &placeholder, Take take,
                          const std::string &help) {
        const CLI::callback_t takeAll = [take](const std::vector<std::string> &values) {
            for (const std::string &value : values)
                take(unshielded(value));
            return true;
        };
        return *app_.add_option(name, takeAll, help)
                    ->option_text(placeholder)
                    ->type_name(placeholder)
                    ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    }

    /// The name of a file or of an entry: not empty.
    template <class Target>
    CLI::Option &fileName(const std::string &name, const std::string &placeholder, Target &target,
                          const std::string &help) {
        return option(name, placeholder, help, [&target, name](const std::string &value) {
            if (value.empty())
                reject(name, "the name may not be empty");
            target = value;
        });
    }

    /// A decimal number from `least` to the largest of the target's type.
    template <class Target>
    CLI::Option &number(const std::string &name, const std::string &placeholder, Target &target,
                        Target least, const std::string &help) {
        return option(name, placeholder, help, [&target, least, name](const std::string &text) {
            const char *const end = text.data() + text.size();
            const auto read = std::from_chars(text.data(), end, target);
            if (read.ec != std::errc() || read.ptr != end || target < least)
                reject(name, "\"" + text + "\" is no number from " + std::to_string(least) +
                                 " to " + std::to_string(std::numeric_limits<Target>::max()));
        });
    }

    /// A file name that has no option in front of it and may not be left out.
    void operand(const std::string &name, std::string &target, const std::string &help) {
        fileName(name, " ", target, help).required();
    }

    /// One or more of them.
    void operands(const std::string &name, std::vector<std::string> &target,
                  const std::string &help) {
        const auto take = [&target](const std::vector<std::string> &values) {
            std::transform(values.begin(), values.end(), std::back_inserter(target), unshielded);
        };
        app_.add_option_function<std::vector<std::string>>(name, take, help)
            ->option_text(" ")
            ->allow_extra_args()
            ->required();
    }

    /// One word of several.
    template <class Target, class Value>
    void choice(const std::string &name, Target &target, const Choices<Value> &choices,
                const std::string &help) {
        std::string words;
        for (const auto &[word, value] : choices)
            words.append(words.empty() ? "" : "|").append(word);
        option(name, words, help, [&target, choices, name, words](const std::string &text) {
            const auto found = std::find_if(choices.begin(), choices.end(),
                                            [&](const auto &each) { return each.first == text; });
            if (found == choices.end())
                reject(name, "\"" + text + "\" is none of " + words);
            target = found->second;
        });
    }

    /// How many threads may work, from 1 to `mostJobs`.
    void jobs(unsigned &target) {
        const std::string help = "how many threads work on files: 1 to " +
                                 std::to_string(mostJobs) +
                                 " (one a core,\nat most 8); the result is always the same";
        option("--jobs", "N", help, [&target](const std::string &text) {
            const char *const end = text.data() + text.size();
            const auto [rest, error] = std::from_chars(text.data(), end, target);
            if (error != std::errc() || rest != end || target < 1 || target > mostJobs)
                reject("--jobs",
                       "\"" + text + "\" is no number from 1 to " + std::to_string(mostJobs));
        });
    }

    CLI::Option &flag(const std::string &name, bool &target, const std::string &help) {
        return *app_.add_flag(name, target, help);
    }

    [[noreturn]] static void reject(const std::string &name, const std::string &why) {
        throw CLI::ValidationError(name, why);
    }

private:
    static constexpr unsigned mostJobs = 64;

    template <class Take>
    CLI::Option &option(const std::string &name, const std::string &placeholder,
                        const std::string &help, Take take) {
        const std::function<void(const std::string &)> function = [take](const std::string &value) {
            take(unshielded(value));
        };
        return *app_.add_option_function(name, function, help)
                    ->option_text(placeholder)
                    ->type_name(placeholder);
    }

    CLI::App &app_;
};

} // namespace vellomir::cli
