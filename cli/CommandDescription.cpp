#include "cli/CommandDescription.h"

#include "cli/CommandGrammar.h"

namespace vellomir::cli {
namespace {

std::string inOneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

OptionDescription describeOption(const CLI::Option &option) {
    OptionDescription described;
    if (option.nonpositional()) {
        described.name = "--" + option.get_lnames().front();
        if (!option.get_snames().empty())
            described.shortName = "-" + option.get_snames().front();
        if (option.get_items_expected_max() > 0)
            described.value = option.get_option_text();
        described.isRepeated = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    } else {
        described.name = option.get_name(true);
        described.isRepeated = option.get_allow_extra_args();
    }
    described.help = inOneLine(option.get_description());
    described.isRequired = option.get_required();
    return described;
}

} // namespace

std::vector<std::string> OptionDescription::choices() const {
    std::vector<std::string> words;
    if (value.find('|') == std::string::npos)
        return words;
    for (std::size_t start = 0; start <= value.size();) {
        const std::size_t end = std::min(value.find('|', start), value.size());
        words.push_back(value.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

CommandDescription descriptionOf(const CLI::App &app) {
    CommandDescription described;
    described.name = app.get_name();
    described.help = inOneLine(app.get_description());
    described.examples = examplesOf(commandPath(app));
    for (const CLI::Option *option : app.get_options())
        (option->nonpositional() ? described.options : described.operands)
            .push_back(describeOption(*option));
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        described.commands.push_back(descriptionOf(*command));
    return described;
}

} // namespace vellomir::cli
