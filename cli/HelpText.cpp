#include "cli/HelpText.h"

#include <sstream>

namespace vellomir::cli {
namespace {

/// "  name    help": nothing if the line is something else.
bool split(const std::string &line, OptionDescription &option) {
    if (!line.starts_with("  ") || line.size() < 3 || line[2] == ' ')
        return false;
    const std::size_t nameEnd = line.find("  ", 2);
    const std::size_t helpStart = line.find_first_not_of(' ', nameEnd);
    if (nameEnd == std::string::npos || helpStart == std::string::npos)
        return false;
    option.name = line.substr(2, nameEnd - 2);
    option.help = line.substr(helpStart);
    return true;
}

} // namespace

CommandDescription descriptionOfHelp(const std::string &program, std::string_view help) {
    CommandDescription described;
    described.name = program;
    std::istringstream lines{std::string(help)};
    std::string section;
    for (std::string line; std::getline(lines, line);) {
        OptionDescription option;
        if (line.ends_with(':'))
            section = line;
        else if (section == "Options:" && split(line, option))
            described.options.push_back(option);
        else if (section == "Arguments:" && split(line, option))
            described.operands.push_back(option);
        else if (section.empty() && !line.empty() && !line.starts_with("Usage"))
            described.help = line;
    }
    return described;
}

} // namespace vellomir::cli
